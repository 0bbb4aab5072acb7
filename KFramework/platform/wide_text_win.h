#pragma once

#include <vector>

namespace kf::platform
{
/// A text for the system, in memory that is wiped before it is freed: the string family's conversion could leave
/// a short password on the stack.
class wide_text
{
public:
    /// @param text  UTF-8; null gives null.
    explicit wide_text(const char* text);
    wide_text(wide_text&&) noexcept = default;
    ~wide_text();
    wide_text(const wide_text&) = delete;
    wide_text& operator=(const wide_text&) = delete;

    /// Many of the system's parameters are not const; it changes nothing.
    [[nodiscard]] wchar_t* get() noexcept { return units_.empty() ? nullptr : units_.data(); }

    /// Whether there was a text and it could not be converted.
    [[nodiscard]] bool failed() const noexcept { return failed_; }

private:
    std::vector<wchar_t> units_; // with the terminator
    bool failed_ = false;
};
} // namespace kf::platform
