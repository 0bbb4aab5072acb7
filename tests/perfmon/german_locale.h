#pragma once
/// What a program that uses the library may do to its own process.

#include <locale>
#include <string>

namespace kf::perfmon::test
{
struct german_numbers final : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// The global C++ locale has German numbers for as long as it lives.
class german_locale
{
public:
    german_locale() : before_(std::locale::global(std::locale(std::locale::classic(), new german_numbers))) {}
    german_locale(const german_locale&) = delete;
    german_locale& operator=(const german_locale&) = delete;
    ~german_locale() { std::locale::global(before_); }

private:
    std::locale before_;
};
} // namespace kf::perfmon::test
