#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{
/// What a stream writes, which the two notations follow digit by digit.
std::string streamed(double value, int precision, bool fixed)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    if (fixed)
        stream << std::fixed;
    stream << std::setprecision(precision) << value;
    return stream.str();
}

/// Puts thousands apart; a host may install such a locale for all its streams.
class grouping : public std::numpunct<char>
{
    char do_thousands_sep() const override { return '.'; }
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

class global_locale
{
public:
    explicit global_locale(const std::locale& locale) : old_(std::locale::global(locale)) {}
    global_locale(const global_locale&) = delete;
    global_locale& operator=(const global_locale&) = delete;
    ~global_locale() { std::locale::global(old_); }

private:
    std::locale old_;
};
} // namespace

TEST(FromInt, WritesDecimalWithoutPadding)
{
    EXPECT_EQ(text::FromInt(0), "0");
    EXPECT_EQ(text::FromInt(7), "7");
    EXPECT_EQ(text::FromInt(INT_MAX), "2147483647");
    EXPECT_EQ(text::FromInt(INT_MIN), "-2147483648");
}

TEST(FromLong, WritesDecimal)
{
    EXPECT_EQ(text::FromLong(-12), "-12");
    EXPECT_EQ(text::FromLong(2147483647L), "2147483647");
    EXPECT_EQ(text::FromLong(-2147483647L - 1), "-2147483648");
}

TEST(FromInt64, WritesDecimal)
{
    EXPECT_EQ(text::FromInt64(LLONG_MAX), "9223372036854775807");
    EXPECT_EQ(text::FromInt64(LLONG_MIN), "-9223372036854775808");
}

TEST(FromUnsignedInt, WritesDecimal)
{
    EXPECT_EQ(text::FromUnsignedInt(0), "0");
    EXPECT_EQ(text::FromUnsignedInt(UINT_MAX), "4294967295");
}

TEST(FromUnsignedInt64, WritesAllSixtyFourBits)
{
    EXPECT_EQ(text::FromUnsignedInt64(4294967297u), "4294967297");
    EXPECT_EQ(text::FromUnsignedInt64(ULLONG_MAX), "18446744073709551615");
}

// KEPT[sizet-low-bits]
TEST(FromSizet, WritesTheLowThirtyTwoBits)
{
    EXPECT_EQ(text::FromSizet(0), "0");
    EXPECT_EQ(text::FromSizet(4294967295u), "4294967295");
    EXPECT_EQ(text::FromSizet(4294967296u), "0");
    EXPECT_EQ(text::FromSizet(4294967297u), "1");
    EXPECT_EQ(text::FromSizet(ULLONG_MAX), "4294967295");
}

TEST(FromTime, WritesTheSecondsAsANumber)
{
    EXPECT_EQ(text::FromTime(0), "0");
    EXPECT_EQ(text::FromTime(4294967296), "4294967296");
    EXPECT_EQ(text::FromTime(-1), "-1");
}

TEST(FromBool, WritesOneOrZero)
{
    EXPECT_EQ(text::FromBool(true), "1");
    EXPECT_EQ(text::FromBool(false), "0");
}

TEST(FromDouble, WritesAFractionWithTheDigitsAskedFor)
{
    EXPECT_EQ(text::FromDouble(2.5, 3), "2.500");
    EXPECT_EQ(text::FromDouble(-0.5, 2), "-0.50");
    EXPECT_EQ(text::FromDouble(0.125, 2), "0.12"); // halves go to the even digit
    EXPECT_EQ(text::FromDouble(1.75, 0), "2");
    EXPECT_EQ(text::FromDouble(0.1, 20), "0.10000000000000000555");
    EXPECT_EQ(text::FromDouble(123456789.5, 1), "123456789.5");
}

// KEPT[integral-without-point]
TEST(FromDouble, WritesAnIntegralValueWithoutPointWhateverThePrecision)
{
    EXPECT_EQ(text::FromDouble(3.0, 0), "3");
    EXPECT_EQ(text::FromDouble(3.0, 3), "3");
    EXPECT_EQ(text::FromDouble(2.0, 5), "2");
    EXPECT_EQ(text::FromDouble(-17.0, 2), "-17");
    EXPECT_EQ(text::FromDouble(-0.0, 2), "0");
    EXPECT_EQ(text::FromDouble(2147483647.0, 1), "2147483647");
    EXPECT_EQ(text::FromDouble(-2147483648.0, 1), "-2147483648");
}

// KEPT[double-int-min]
TEST(FromDouble, WritesTheSmallestIntForIntegralValuesOutsideItsRange)
{
    EXPECT_EQ(text::FromDouble(30000000000.0, 2), "-2147483648");
    EXPECT_EQ(text::FromDouble(2147483648.0, 2), "-2147483648");
    EXPECT_EQ(text::FromDouble(-2147483649.0, 2), "-2147483648");
    EXPECT_EQ(text::FromDouble(-30000000000.0, 2), "-2147483648");
    EXPECT_EQ(text::FromDouble(1e300, 2), "-2147483648");
    EXPECT_EQ(text::FromDoubleNoFixed(30000000000.0, 2), "-2147483648");
}

TEST(FromDouble, CountsInfinityAndNanAsFractional)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(text::FromDouble(infinity, 2), "inf");
    EXPECT_EQ(text::FromDouble(-infinity, 2), "-inf");
    EXPECT_EQ(text::FromDouble(nan, 2), "nan");
    EXPECT_EQ(text::FromDoubleNoFixed(infinity, 2), "inf");
    EXPECT_EQ(text::FromDoubleNoFixed(nan, 2), "nan");
}

TEST(FromDouble, TakesAnyPrecision)
{
    EXPECT_EQ(text::FromDouble(0.5, -1), "0.500000");
    EXPECT_EQ(text::FromDouble(0.5, INT_MIN), "0.500000");
    EXPECT_EQ(text::FromDouble(0.5, 5000), "0.5" + std::string(4999, '0'));
    EXPECT_EQ(text::FromDoubleNoFixed(0.5, -1), "0.5");
    EXPECT_EQ(text::FromDoubleNoFixed(0.5, 0), "0.5");
    EXPECT_EQ(text::FromDoubleNoFixed(0.5, INT_MAX), "0.5");
    const double smallest = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(text::FromDouble(smallest, 1100).size(), 1102u);
    EXPECT_EQ(text::FromDoubleNoFixed(smallest, INT_MAX).size(), std::strlen("4.e-324") + 750);
}

TEST(FromDouble, WritesWhatAStreamWrites)
{
    std::mt19937_64 random(20260101);
    for (int round = 0; round < 20000; ++round)
    {
        const double exponent = static_cast<double>(static_cast<int>(random() % 80)) - 40;
        const double value =
            (static_cast<double>(random() % 2000001) - 1000000) * std::pow(10.0, exponent) / 3;
        if (std::fmod(value, 1.0) == 0.0)
            continue;
        const int precision = static_cast<int>(random() % 18);
        ASSERT_EQ(text::FromDouble(value, precision), streamed(value, precision, true)) << value;
        ASSERT_EQ(text::FromDoubleNoFixed(value, precision), streamed(value, precision, false)) << value;
    }
}

TEST(FromDoubleNoFixed, CountsSignificantDigits)
{
    EXPECT_EQ(text::FromDoubleNoFixed(2.5, 3), "2.5");
    EXPECT_EQ(text::FromDoubleNoFixed(1234.5678, 3), "1.23e+03");
    EXPECT_EQ(text::FromDoubleNoFixed(1234.5678, 6), "1234.57");
    EXPECT_EQ(text::FromDoubleNoFixed(0.00001234, 2), "1.2e-05");
    EXPECT_EQ(text::FromDoubleNoFixed(2.0, 5), "2");
    EXPECT_EQ(text::FromDoubleNoFixed(1234567.0, 2), "1234567");
}

TEST(FromFloat, WritesTheFloatLikeADouble)
{
    EXPECT_EQ(text::FromFloat(2.5F, 3), "2.500");
    EXPECT_EQ(text::FromFloat(0.1F, 10), "0.1000000015");
    EXPECT_EQ(text::FromFloat(3.0F, 3), "3");
    EXPECT_EQ(text::FromFloat(1e20F, 3), "-2147483648");
}

TEST(FromFloatNoFixed, WritesTheFloatLikeADouble)
{
    EXPECT_EQ(text::FromFloatNoFixed(2.5F, 3), "2.5");
    EXPECT_EQ(text::FromFloatNoFixed(1234.5F, 2), "1.2e+03");
    EXPECT_EQ(text::FromFloatNoFixed(2.0F, 5), "2");
}

TEST(FromInt, IgnoresTheHostsLocale)
{
    const global_locale changed(std::locale(std::locale::classic(), new grouping));
    EXPECT_EQ(text::FromInt(1234567), "1234567");
    EXPECT_EQ(text::FromInt64(1234567), "1234567");
    EXPECT_EQ(text::FromTime(1234567), "1234567");
    EXPECT_EQ(text::FromDouble(1234.5, 1), "1234.5");
    EXPECT_EQ(text::FromDoubleNoFixed(1234.5, 6), "1234.5");
    EXPECT_EQ(text::FromDouble(1234567.0, 1), "1234567");
}

TEST(ToBool, IsFalseForZeroAndForFalseInAnyCase)
{
    EXPECT_FALSE(text::ToBool("0"));
    EXPECT_FALSE(text::ToBool("false"));
    EXPECT_FALSE(text::ToBool("FALSE"));
    EXPECT_FALSE(text::ToBool("fAlSe"));
}

// KEPT[to-bool-permissive]
TEST(ToBool, IsTrueForEverythingElse)
{
    for (const char* const other :
         {"1", "", "yes", "true", "no", "off", "False ", " false", "00", "-0", "0.0", "f"})
        EXPECT_TRUE(text::ToBool(other)) << other;
    EXPECT_TRUE(text::ToBool(std::string("0\0", 2)));
}
