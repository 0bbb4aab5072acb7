#include "KFramework/platform/wide_text_win.h"

#include "KFramework/platform/windows_win.h"
#include "KFramework/platform/wipe.h"

namespace kf::platform
{
wide_text::wide_text(const char* text)
{
    if (text == nullptr)
        return;
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    if (size > 0)
        units_.resize(static_cast<std::size_t>(size));
    failed_ = size <= 0 || ::MultiByteToWideChar(CP_UTF8, 0, text, -1, units_.data(), size) != size;
}

wide_text::~wide_text()
{
    wipe(units_.data(), units_.size() * sizeof(wchar_t));
}
} // namespace kf::platform
