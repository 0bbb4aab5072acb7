#include "KFramework/filesystem/gzip_files_win.h"

#include "KFramework/filesystem/gzip_files.h"
#include "KFramework/string.h"

#include <cstdio>
#include <utility>

namespace kf::filesystem
{
bool compress_file_wide(const std::string& source_path, const std::string& destination_path)
{
    using KFramework::KStringHelper::Utf8StringToWideString;
    // "N" is the runtime's word for a file that children do not inherit.
    c_file source(::_wfopen(Utf8StringToWideString(source_path).c_str(), L"rbN"));
    c_file destination(::_wfopen(Utf8StringToWideString(destination_path).c_str(), L"wbN"));
    return compress_between(std::move(source), std::move(destination));
}
} // namespace kf::filesystem
