#pragma once
/// Atomic access to a plain field of a public record, which several threads use without a lock.
///
/// The order is the sequential one throughout: who appends to the send buffer and then finds the mark set relies on
/// whoever clears the mark finding the bytes.

#include <atomic>

namespace kf::socket
{

template <class Field>
[[nodiscard]] std::atomic_ref<Field> shared(const Field& field) noexcept
{
    return std::atomic_ref<Field>(const_cast<Field&>(field));
}

} // namespace kf::socket
