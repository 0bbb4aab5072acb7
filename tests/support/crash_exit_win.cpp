#include "tests/support/crash_exit_win.h"

#include <cstdio>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{

namespace
{

constexpr UINT kCrashCode = 3;

LONG WINAPI end_process(EXCEPTION_POINTERS* exception)
{
    std::fprintf(stderr, "Unhandled exception 0x%08lx at %p on thread %lu\n",
                 exception->ExceptionRecord->ExceptionCode, exception->ExceptionRecord->ExceptionAddress,
                 ::GetCurrentThreadId());
    ::TerminateProcess(::GetCurrentProcess(), kCrashCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

void end_on_crash()
{
    ::SetUnhandledExceptionFilter(end_process);
}

} // namespace kf::test
