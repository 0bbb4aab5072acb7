#pragma once

#include <vector>

namespace kf::ldap
{
/// A text for the client, in memory that is wiped before it is freed: the string family's conversion could leave
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

    /// The client's parameters are not const; it changes nothing.
    [[nodiscard]] wchar_t* get() noexcept { return units_.empty() ? nullptr : units_.data(); }

    /// Whether there was a text and it could not be converted.
    [[nodiscard]] bool failed() const noexcept { return failed_; }

private:
    std::vector<wchar_t> units_; // with the terminator
    bool failed_ = false;
};

/// Gives a caller that wants to know the reason of a failure.
inline void report(unsigned int* error, unsigned long code)
{
    if (error != nullptr)
        *error = static_cast<unsigned int>(code);
}
} // namespace kf::ldap
