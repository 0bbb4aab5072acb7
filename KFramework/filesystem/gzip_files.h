#pragma once
/// Whole files around the gzip streams: what CompressFile and log rotation share.

#include "KFramework/filesystem/c_file.h"

namespace kf::filesystem
{
/// Compresses source into destination, closes both and reports a failure on standard error.
///
/// @param source, destination  open in binary; either may be none, then nothing is read, written or reported.
/// @return  whether everything reached destination.
bool compress_between(c_file source, c_file destination);
} // namespace kf::filesystem
