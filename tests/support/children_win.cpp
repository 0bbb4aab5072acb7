#include "tests/support/children.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"
#include "tests/support/temporary_folder.h"

namespace kf::test
{

std::string child_program(const std::string& name)
{
    std::wstring own(32768, L'\0');
    own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    const std::filesystem::path path = std::filesystem::path(own).parent_path() / utf8_path(name + ".exe");
    EXPECT_TRUE(std::filesystem::exists(path)) << utf8_text(path) << " is missing";
    return utf8_text(path);
}

} // namespace kf::test
