#pragma once

#include "KFramework/platform/handles_win.h"

#include <string>

namespace kf::filesystem::test
{

/// A process that tries to take a unique lock; killed with this object if it still runs.
class lock_holder
{
public:
    /// @param name  ASCII.
    explicit lock_holder(const std::string& name);
    lock_holder(const lock_holder&) = delete;
    lock_holder& operator=(const lock_holder&) = delete;
    ~lock_holder();

    /// What it says next, without line ending; fails the test at the deadline.
    [[nodiscard]] std::string says();

    /// Lets it call DeleteUniqueLock.
    void give_back();

    /// Ends its input and waits for its end.
    void leave();

    /// Ends it without warning.
    void kill();

private:
    void wait();

    platform::unique_handle process_;
    platform::unique_handle input_;
    platform::unique_handle output_;
    std::string heard_;
};

} // namespace kf::filesystem::test
