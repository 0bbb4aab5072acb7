#include "KFramework/logger/log_file_win.h"

#include "KFramework/core.h"
#include "KFramework/filesystem/c_file.h"
#include "KFramework/logger/start_time.h"
#include "KFramework/string.h"

#include <cstdio>

namespace kf::logger
{
namespace
{
using KFramework::KStringHelper::Utf8StringToWideString;

/// At most kStartTextSize characters; empty when there is no such file.
std::string read_first_bytes(const std::string& path)
{
    // Text mode: a line ending counts as one character. Not inherited by a child that is started meanwhile.
    const filesystem::c_file file(::_wfopen(Utf8StringToWideString(path).c_str(), L"rtN"));
    if (!file)
        return {};
    std::string bytes(kStartTextSize, '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    return bytes;
}
} // namespace

std::tm live_local_time()
{
    long long seconds = ::_time64(nullptr);
    std::tm local{};
    KFramework::LocalTime_R(&seconds, &local);
    return local;
}

std::tm read_start_time(const std::string& path)
{
    return parse_start_time(read_first_bytes(path)).value_or(live_local_time());
}

HANDLE open_log_file(const std::string& path)
{
    const HANDLE file = ::CreateFileW(Utf8StringToWideString(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}
} // namespace kf::logger
