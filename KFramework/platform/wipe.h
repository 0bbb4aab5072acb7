#pragma once

#include <cstddef>
#include <cstring>

namespace kf::platform
{
/// Overwrites memory that held something confidential with zeros, just before
/// it is freed; the compiler may not leave the writes out.
inline void wipe(void* memory, std::size_t bytes) noexcept
{
    if (bytes == 0)
        return; // memory may be null then
    std::memset(memory, 0, bytes);
    asm volatile("" : : "r"(memory) : "memory");
}

/// Wipes a text's own buffer over a scope's end.
template <class Text>
class wiped_at_end
{
public:
    explicit wiped_at_end(Text& text) noexcept : text_(text) {}
    ~wiped_at_end() { wipe(text_.data(), text_.size() * sizeof(typename Text::value_type)); }
    wiped_at_end(const wiped_at_end&) = delete;
    wiped_at_end& operator=(const wiped_at_end&) = delete;

private:
    Text& text_;
};
} // namespace kf::platform
