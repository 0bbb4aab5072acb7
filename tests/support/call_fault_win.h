#pragma once
/// Makes chosen calls of an imported function fail.
///
///     call_fault<"MoveFileW", decltype(::MoveFileW)> moves(FALSE, ERROR_ACCESS_DENIED);
///     moves.once(2); // the third call from here fails, the others reach the system
///     call_fault<"fflush", int(std::FILE*)> writes([](std::FILE* file) { ...; return EOF; });
///     fail_each_call(writes, fault_span::lasting, [&] { EXPECT_EQ(save(), !writes.happened()); });
///
/// A type written out takes less from the compiler's headers than decltype, which warns where they add attributes.
/// One at a time for each name. Calls from every thread and from static libraries inside the module count.

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <functional>
#include <utility>

#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

namespace kf::test
{

/// A function's name as a template argument, which gives each name a replacement of its own.
template <std::size_t Size>
struct import_name
{
    char text[Size];
    consteval import_name(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

/// Which calls fail, given the first of them.
enum class fault_span
{
    single, ///< that call alone
    lasting ///< that call and every later one
};

template <import_name Name, class Function>
class call_fault;

template <import_name Name, class Result, class... Arguments>
class call_fault<Name, Result(Arguments...)>
{
public:
    using function = Result(Arguments...);

    /// No call fails before once, lastingly or from has been called.
    ///
    /// @param failure  is called in place of a call that is to fail.
    explicit call_fault(std::function<function> failure) : hook_(Name.text, &answer)
    {
        failure_ = std::move(failure);
        counted_ = nullptr;
        original_ = hook_.original();
        never();
    }

    /// A failing call gives result and sets the last error.
    call_fault(Result result, DWORD error)
        : call_fault(
              [result, error](Arguments...)
              {
                  ::SetLastError(error);
                  return result;
              })
    {
    }

    call_fault(const call_fault&) = delete;
    call_fault& operator=(const call_fault&) = delete;

    /// Calls for which this is false are passed on and not counted.
    void only(std::function<bool(Arguments...)> counted) { counted_ = std::move(counted); }

    /// Counts anew from 0: calls number `call` and, if the span is lasting, all later ones fail.
    void from(int call, fault_span span)
    {
        calls_ = failed_ = 0;
        first_ = call;
        last_ = span == fault_span::single ? call : INT_MAX;
    }
    void once(int call) { from(call, fault_span::single); }
    void lastingly(int call) { from(call, fault_span::lasting); }
    void never() { from(INT_MAX, fault_span::single); }

    /// Calls since the counting began, failed ones among them.
    [[nodiscard]] int calls() const { return calls_; }
    [[nodiscard]] int failed() const { return failed_; }
    [[nodiscard]] bool happened() const { return failed_ != 0; }

private:
    static inline std::function<function> failure_;
    static inline std::function<bool(Arguments...)> counted_;
    static inline function* original_ = nullptr;
    static inline std::atomic<int> calls_{0};
    static inline std::atomic<int> failed_{0};
    static inline std::atomic<int> first_{INT_MAX};
    static inline std::atomic<int> last_{INT_MAX};

    static Result answer(Arguments... arguments)
    {
        if (counted_ && !counted_(arguments...))
            return original_(arguments...);
        const int call = calls_++;
        if (call < first_ || call > last_)
            return original_(arguments...);
        ++failed_;
        return failure_(arguments...);
    }

    import_hook<function> hook_;
};

/// Runs an operation with its first call failing, then with its second, and so on, and a last time with none.
///
/// @param run  does the work and the checks; fault.happened() tells it after the work whether a call failed.
/// @return  how many calls the operation makes when none fails.
template <class Fault, class Run>
int fail_each_call(Fault& fault, fault_span span, Run run)
{
    int call = 0;
    do
    {
        fault.from(call++, span);
        run();
    } while (fault.happened());
    const int calls = fault.calls();
    fault.never();
    return calls;
}

} // namespace kf::test
