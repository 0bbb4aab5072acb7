#pragma once

#include <utility>

namespace kf::platform
{
/// Owns one operating-system resource and closes it exactly once.
///
/// Traits name the value type, the value that means none, the test for it and
/// how to close.
template <class Traits>
class unique_resource
{
public:
    using value_type = typename Traits::value_type;

    unique_resource() noexcept = default;
    explicit unique_resource(value_type value) noexcept : value_(value) {}
    unique_resource(unique_resource&& other) noexcept : value_(other.release()) {}
    unique_resource& operator=(unique_resource&& other) noexcept
    {
        reset(other.release()); // right for self-move too: release() empties us first
        return *this;
    }
    unique_resource(const unique_resource&) = delete;
    unique_resource& operator=(const unique_resource&) = delete;
    ~unique_resource() { reset(); }

    value_type get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return Traits::valid(value_); }
    [[nodiscard]] value_type release() noexcept { return std::exchange(value_, Traits::none()); }

    void reset(value_type next = Traits::none()) noexcept
    {
        const value_type old = std::exchange(value_, next);
        if (Traits::valid(old))
            Traits::close(old);
    }

    /// Closes what is held and gives room for a call that fills a pointer.
    value_type* put() noexcept
    {
        reset();
        return &value_;
    }

private:
    value_type value_ = Traits::none();
};
} // namespace kf::platform
