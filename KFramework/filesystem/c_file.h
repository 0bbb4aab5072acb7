#pragma once

#include "KFramework/platform/unique_resource.h"

#include <cstdio>

namespace kf::filesystem
{
/// Null means none: streams of the C runtime.
struct c_file_traits
{
    using value_type = std::FILE*;
    static std::FILE* none() noexcept { return nullptr; }
    static bool valid(std::FILE* file) noexcept { return file != nullptr; }
    static void close(std::FILE* file) noexcept { std::fclose(file); }
};
using c_file = platform::unique_resource<c_file_traits>;
} // namespace kf::filesystem
