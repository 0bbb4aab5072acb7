#pragma once
/// States that are dear to make and cheap to reset, kept for the next caller on any thread.

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace kf::socket
{

/// Lends each state to one caller at a time. Slots are exchanged, never linked, so there is nothing to lock and no
/// pointer that could be taken twice.
template <class State>
class kept_states
{
public:
    kept_states() noexcept = default;
    kept_states(const kept_states&) = delete;
    kept_states& operator=(const kept_states&) = delete;
    ~kept_states()
    {
        for (auto& slot : slots_)
            delete slot.exchange(nullptr);
    }

    /// A kept state in whatever condition it came back, or a new one; null when memory is exhausted.
    [[nodiscard]] std::unique_ptr<State> take() noexcept
    {
        for (auto& slot : slots_)
        {
            if (slot.load(std::memory_order_relaxed) == nullptr)
                continue;
            if (State* const state = slot.exchange(nullptr, std::memory_order_acquire))
                return std::unique_ptr<State>(state);
        }
        return std::unique_ptr<State>(new (std::nothrow) State);
    }

    /// Keeps the state, or destroys it when every slot is taken.
    void give_back(std::unique_ptr<State> state) noexcept
    {
        for (auto& slot : slots_)
        {
            State* empty = nullptr;
            if (slot.compare_exchange_strong(empty, state.get(), std::memory_order_release,
                                             std::memory_order_relaxed))
            {
                [[maybe_unused]] State* const kept = state.release();
                return;
            }
        }
    }

private:
    /// Threads that encode at the same instant; a deflate state holds 268 KB.
    static constexpr std::size_t kSlots = 8;
    std::array<std::atomic<State*>, kSlots> slots_{};
};

} // namespace kf::socket
