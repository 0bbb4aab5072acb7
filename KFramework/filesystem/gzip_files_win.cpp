#include "KFramework/filesystem/gzip_files_win.h"

#include "KFramework/filesystem/gzip_files.h"
#include "KFramework/string.h"

#include <cstdio>
#include <utility>

namespace kf::filesystem
{
namespace
{
namespace text = KFramework::KStringHelper;
} // namespace

bool compress_file_wide(const std::string& source_path, const std::string& destination_path)
{
    // "N" is the runtime's word for a file that children do not inherit.
    c_file source(::_wfopen(text::Utf8StringToWideString(source_path).c_str(), L"rbN"));
    c_file destination(::_wfopen(text::Utf8StringToWideString(destination_path).c_str(), L"wbN"));
    return compress_between(std::move(source), std::move(destination));
}
} // namespace kf::filesystem
