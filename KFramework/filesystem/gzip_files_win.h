#pragma once

#include <string>

namespace kf::filesystem
{
/// What KFileSystem::CompressFile does, over files opened wide from UTF-8 paths, so that any folder will do.
/// Neither file is inherited by a child that another thread starts meanwhile. Never logs.
///
/// @return  whether everything reached the destination.
bool compress_file_wide(const std::string& source_path, const std::string& destination_path);
} // namespace kf::filesystem
