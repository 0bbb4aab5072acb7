#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string>

#include "KFramework/string.h"

namespace
{
/// A double has at most 767 significant digits; more of them than this change no general notation.
constexpr int kMostSignificantDigits = 800;
/// Sign, the 309 digits before the point of the largest double, the point.
constexpr int kFixedOverhead = 311;
/// Sign, point, leading zeros or exponent.
constexpr int kGeneralOverhead = 16;
/// What a stream uses for a negative precision.
constexpr int kDefaultPrecision = 6;

template <class Integer>
std::string decimal(Integer value)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return {digits, end};
}

std::uint32_t low_32_bits(unsigned long long value)
{
    return static_cast<std::uint32_t>(value);
}

/// NaN and the infinities have no remainder of zero: they count as fractional.
bool has_fraction(double value)
{
    return !(std::fmod(value, 1.0) == 0.0);
}

int truncate_to_32_bits(double value)
{
    // KEPT[double-int-min]: every value outside the range gives the same one.
    if (!(value >= INT_MIN && value <= INT_MAX))
        return INT_MIN;
    return static_cast<int>(value);
}

std::string with_notation(double value, std::chars_format notation, int precision, int room)
{
    std::string text(static_cast<std::size_t>(room) + static_cast<std::size_t>(precision), '\0');
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, notation, precision).ptr;
    text.resize(static_cast<std::size_t>(end - text.data()));
    return text;
}
} // namespace

namespace KFramework::KStringHelper
{
std::string FromInt(int value)
{
    return decimal(value);
}

std::string FromLong(long value)
{
    return decimal(value);
}

std::string FromInt64(long long value)
{
    return decimal(value);
}

std::string FromUnsignedInt(unsigned int value)
{
    return decimal(value);
}

std::string FromUnsignedInt64(unsigned long long value)
{
    return decimal(value);
}

std::string FromSizet(unsigned long long value)
{
    // KEPT[sizet-low-bits]
    return decimal(low_32_bits(value));
}

std::string FromTime(long long seconds)
{
    return decimal(seconds);
}

std::string FromBool(bool value)
{
    return value ? "1" : "0";
}

std::string FromDouble(double value, int precision)
{
    // KEPT[integral-without-point]
    if (!has_fraction(value))
        return decimal(truncate_to_32_bits(value));
    const int digits = precision < 0 ? kDefaultPrecision : precision;
    return with_notation(value, std::chars_format::fixed, digits, kFixedOverhead);
}

std::string FromDoubleNoFixed(double value, int precision)
{
    if (!has_fraction(value))
        return decimal(truncate_to_32_bits(value));
    const int digits = precision < 0 ? kDefaultPrecision : std::min(precision, kMostSignificantDigits);
    return with_notation(value, std::chars_format::general, digits, kGeneralOverhead);
}

std::string FromFloat(float value, int precision)
{
    return FromDouble(static_cast<double>(value), precision);
}

std::string FromFloatNoFixed(float value, int precision)
{
    return FromDoubleNoFixed(static_cast<double>(value), precision);
}

std::string AddNumericPadding(const std::string& digits, int width)
{
    const std::size_t wanted = width > 0 ? static_cast<std::size_t>(width) : 0;
    if (digits.size() >= wanted)
        return digits;
    std::string padded;
    padded.reserve(wanted);
    // KEPT[zeros-before-sign]: the text is not looked at.
    padded.append(wanted - digits.size(), '0');
    padded += digits;
    return padded;
}

bool ToBool(const std::string& text)
{
    // KEPT[to-bool-permissive]: only "0" and "false" are false.
    return text != "0" && ToLower(text) != "false";
}
} // namespace KFramework::KStringHelper
