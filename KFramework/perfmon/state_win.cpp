#include "KFramework/perfmon/state_win.h"

#include "KFramework/core.h"

namespace kf::perfmon
{
namespace
{
constexpr int kPauseMs = 1000;
}

stop_signal::stop_signal() noexcept : event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

void stop_signal::set() noexcept
{
    // KEPT[monitor-stops-for-good]: neither flag nor event is ever reset.
    set_ = true;
    if (event_ != nullptr)
        ::SetEvent(event_);
}

void stop_signal::pause() const noexcept
{
    if (event_ == nullptr || ::WaitForSingleObject(event_, kPauseMs) == WAIT_FAILED)
        KFramework::MicroSleep(kPauseMs);
}

monitor_state& state()
{
    static monitor_state* const the_state = new monitor_state; // outlives every thread that may ask
    return *the_state;
}
} // namespace kf::perfmon
