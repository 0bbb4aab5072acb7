#include "KFramework/platform/wipe.h"
#include "KFramework/process.h"
#include "KFramework/process/environment.h"
#include "KFramework/string.h"

namespace KFramework::KProcesses
{
namespace
{
static_assert(sizeof(wchar_t) == sizeof(char16_t));

std::u16string to_utf16(const std::string& text)
{
    std::wstring wide = KStringHelper::Utf8StringToWideString(text);
    const kf::platform::wiped_at_end wipe_wide(wide);
    return {wide.begin(), wide.end()};
}
} // namespace

void* GetEnvironmentWideString(KClientLib::KEnvironment* environment)
{
    return environment != nullptr ? kf::process::wide_block(environment->variables, to_utf16) : nullptr;
}
} // namespace KFramework::KProcesses
