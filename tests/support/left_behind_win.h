#pragma once
/// Whether something confidential is left in memory: in blocks that are freed, and on the stack.

#include <string_view>

#include "tests/support/import_hook_win.h"

namespace kf::test
{

/// Looks into every block that the C++ runtime frees, on any thread, while it lives. One at a time.
class freed_memory
{
public:
    /// @param bytes  what to look for; must outlive the watch.
    explicit freed_memory(std::string_view bytes);
    freed_memory(const freed_memory&) = delete;
    freed_memory& operator=(const freed_memory&) = delete;

    /// How many blocks held the bytes when they were freed.
    [[nodiscard]] int count() const;

    /// How many blocks were freed at all.
    [[nodiscard]] int blocks() const;

private:
    import_hook<void(void*)> hook_;
};

/// Runs something so far down the calling thread's stack that left_on_stack, which needs some itself, does not
/// overwrite what it leaves.
template <class Run>
[[gnu::noinline]] void deep_on_stack(Run run)
{
    [[maybe_unused]] volatile char room[32 * 1024];
    room[0] = 0;
    run();
    room[0] = 1;
}

/// Whether what ran in deep_on_stack has left these bytes on the calling thread's stack.
[[nodiscard]] bool left_on_stack(std::string_view bytes);

} // namespace kf::test
