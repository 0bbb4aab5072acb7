#pragma once
/// What every fuzz target is written with: a way to cut its input into arguments, and a check that ends the
/// program. Including it declares the entry point that the fuzzer calls.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kf::fuzz
{

/// Cuts an input into arguments from its front, so that seeds can be written by hand: numbers and texts on lines of
/// their own, the long part at the end. Views stay valid as long as the input's bytes.
class input
{
public:
    input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    /// Up to the next line feed, which is taken too, or all that is left.
    std::string_view line()
    {
        const std::string_view taken = rest_.substr(0, rest_.find('\n'));
        rest_.remove_prefix(std::min(taken.size() + 1, rest_.size()));
        return taken;
    }

    /// One byte as a number, 0 when nothing is left.
    std::uint8_t byte()
    {
        if (rest_.empty())
            return 0;
        const auto taken = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return taken;
    }

    /// Four bytes, lowest first; missing ones count as 0.
    std::uint32_t number()
    {
        std::uint32_t taken = 0;
        for (int shift = 0; shift < 32; shift += 8)
            taken |= std::uint32_t{byte()} << shift;
        return taken;
    }

    /// As many bytes as asked for, or all that is left.
    std::string_view bytes(std::size_t count)
    {
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    bool empty() const { return rest_.empty(); }

    /// All that is left.
    std::string_view rest() { return bytes(rest_.size()); }

private:
    std::string_view rest_;
};

/// Ends the program, which the fuzzer takes for a finding, unless a property holds.
inline void require(bool holds, const char* property, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, property);
    std::abort();
}

} // namespace kf::fuzz
