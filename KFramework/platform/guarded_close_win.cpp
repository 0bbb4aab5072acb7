#include "KFramework/platform/guarded_close_win.h"

#include <atomic>

// GCC has no __try. A vectored handler puts the thread back to the context that
// guarded_call() captured; nothing between the two owns a resource.
extern "C" __declspec(dllimport) void WINAPI RtlCaptureContext(PCONTEXT) __attribute__((returns_twice));

namespace kf::platform
{
namespace
{
constexpr DWORD kStackOverflow = 0xC00000FD;
constexpr DWORD kErrorSeverity = 3;

struct guarded_frame
{
    CONTEXT context;
    volatile DWORD code;
};

thread_local guarded_frame* volatile innermost = nullptr;

LONG CALLBACK resume_at_frame(EXCEPTION_POINTERS* exception)
{
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if ((code >> 30) != kErrorSeverity || code == kStackOverflow)
        return EXCEPTION_CONTINUE_SEARCH; // before the look at thread storage, which may allocate on first use
    guarded_frame* const frame = innermost;
    if (frame == nullptr)
        return EXCEPTION_CONTINUE_SEARCH;
    innermost = nullptr;
    frame->code = code;
    *exception->ContextRecord = frame->context;
    return EXCEPTION_CONTINUE_EXECUTION;
}

/// One registration for the module, taken back when it unloads.
struct handler_registration
{
    void* const handle = ::AddVectoredExceptionHandler(1, resume_at_frame);
    ~handler_registration() { ::RemoveVectoredExceptionHandler(handle); }
};

void register_handler()
{
    static const handler_registration registration;
}
} // namespace

__attribute__((noinline)) bool guarded_call(void (*call)(void* argument), void* argument) noexcept
{
    register_handler();
    guarded_frame frame;
    frame.code = 0;
    guarded_frame* const outer = innermost;
    ::RtlCaptureContext(&frame.context);
    if (frame.code == 0)
    {
        innermost = &frame;
        std::atomic_signal_fence(std::memory_order_seq_cst);
        call(argument);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    innermost = outer;
    return frame.code == 0;
}

bool guarded_close(HANDLE handle) noexcept
{
    struct closing
    {
        HANDLE handle;
        BOOL closed;
    } one{handle, FALSE};
    const auto close = [](void* argument)
    {
        auto& wanted = *static_cast<closing*>(argument);
        wanted.closed = ::CloseHandle(wanted.handle);
    };
    return guarded_call(close, &one) && one.closed != FALSE;
}
} // namespace kf::platform
