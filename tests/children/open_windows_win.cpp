/// open_windows WINDOW...: opens windows, prints their handles, one a line, and serves them until it is ended.
///
/// A WINDOW is CLASS/TITLE/STYLE/EXTENDED/LINK. The styles are hexadecimal. LINK is empty, or "o2" for a window owned
/// by the third one, "c2" for one inside it, "m2" for one that is moved into it once it is open and keeps its style.
/// A class or title "@100+end" stands for 100 letters "x" and the text behind the plus sign.
/// A line "close" or "command" follows each such message; a window of the class "Stubborn" does not close.

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "KFramework/platform/windows_win.h"

namespace
{
constexpr wchar_t kStubborn[] = L"Stubborn";

LRESULT CALLBACK serve(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_COMMAND)
        std::puts("command");
    if (message == WM_CLOSE)
    {
        std::puts("close");
        wchar_t name[16] = {};
        ::GetClassNameW(window, name, 16);
        if (std::wcscmp(name, kStubborn) == 0)
            return 0;
    }
    return ::DefWindowProcW(window, message, first, second);
}

std::vector<std::wstring> fields(const std::wstring& text)
{
    std::vector<std::wstring> all(1);
    for (const wchar_t c : text)
        if (c == L'/')
            all.emplace_back();
        else
            all.back() += c;
    all.resize(5);
    return all;
}

std::wstring expand(const std::wstring& text)
{
    if (!text.starts_with(L'@'))
        return text;
    const std::size_t plus = text.find(L'+');
    return std::wstring(std::wcstoul(text.c_str() + 1, nullptr, 10), L'x') +
           (plus == std::wstring::npos ? L"" : text.substr(plus + 1));
}

HWND open_window(const std::wstring& text, const std::vector<HWND>& windows)
{
    const auto all = fields(text);
    const std::wstring name = expand(all[0]);
    const std::wstring title = expand(all[1]);
    DWORD style = std::wcstoul(all[2].c_str(), nullptr, 16);
    const DWORD extended = std::wcstoul(all[3].c_str(), nullptr, 16);
    const wchar_t link = all[4].empty() ? L' ' : all[4][0];
    const HWND other = link == L' ' ? nullptr : windows.at(std::wcstoul(all[4].c_str() + 1, nullptr, 10));

    WNDCLASSEXW record{};
    record.cbSize = sizeof record;
    record.lpfnWndProc = serve;
    record.hInstance = ::GetModuleHandleW(nullptr);
    record.lpszClassName = name.c_str();
    if (name != L"Button")
        ::RegisterClassExW(&record); // once more for a known class does no harm

    if (link == L'c')
        style |= WS_CHILD;
    const HWND window =
        ::CreateWindowExW(extended, name.c_str(), title.c_str(), style, 10, 10, 120, 80,
                          link == L'o' || link == L'c' ? other : nullptr, nullptr, record.hInstance, nullptr);
    if (link == L'm')
        ::SetParent(window, other);
    return window;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::vector<HWND> windows;
    for (int i = 1; i < count; ++i)
    {
        windows.push_back(open_window(arguments[i], windows));
        std::printf("%llu\n", static_cast<unsigned long long>(reinterpret_cast<ULONG_PTR>(windows.back())));
    }
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0)
        ::DispatchMessageW(&message);
    return 0;
}
