#include "tests/support/library_copy_win.h"

#include <atomic>
#include <filesystem>

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

namespace kf::test
{

namespace
{

std::filesystem::path library_path()
{
    std::wstring path(32768, L'\0');
    path.resize(
        ::GetModuleFileNameW(::GetModuleHandleA(kLibraryName), path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::string next_name()
{
    static std::atomic<unsigned> counter{0};
    return "KFramework-copy-" + std::to_string(++counter) + ".dll";
}

} // namespace

library_copy::library_copy() : name_(next_name())
{
    std::filesystem::copy_file(library_path(), folder_.entry(name_));
    module_ = ::LoadLibraryW(folder_.entry(name_).c_str());
    EXPECT_NE(module_, nullptr) << name_ << " cannot be loaded";
}

library_copy::~library_copy()
{
    if (module_ != nullptr)
        ::FreeLibrary(module_);
}

void* library_copy::find(const char* mangled) const
{
    const auto found = reinterpret_cast<void*>(::GetProcAddress(module_, mangled));
    EXPECT_NE(found, nullptr) << mangled << " is not exported";
    return found;
}

} // namespace kf::test
