#pragma once
/// The exact texts that this family writes to standard error.

namespace kf::filesystem
{
inline constexpr char kZlibPrefix[] = "zlib: ";
inline constexpr char kVersionMismatch[] = "zlib version mismatch!\n";
inline constexpr char kOutOfMemory[] = "out of memory\n";
inline constexpr char kInvalidData[] = "invalid or incomplete deflate data\n";
inline constexpr char kInvalidLevel[] = "invalid compression level\n";
inline constexpr char kReadingInput[] = "error reading stdin\n";
inline constexpr char kWritingOutput[] = "error writing stdout\n";
} // namespace kf::filesystem
