#pragma once
/// Replaces a function that a loaded module imports by name, for as long as the hook lives.
///
///     import_hook hook("WSASend", &refuse_to_send);
///     import_hook listing("CreatePipe", +[](PHANDLE, PHANDLE, LPSECURITY_ATTRIBUTES, DWORD) -> BOOL WINAPI { ... });
///
/// Several hooks may live at once, also on the same name when the last one made goes first. Everything in the
/// module shares the slot, static libraries included: a replacement passes foreign handles on to original().
/// A name that the module does not import fails the test and makes the hook do nothing.

#include <type_traits>

namespace kf::test
{

inline constexpr const char* kLibraryName = "KFramework.dll";

/// The untyped part: finds the slot, exchanges its content, puts it back.
class import_slot
{
public:
    import_slot(const char* module, const char* name, void* replacement);
    import_slot(const import_slot&) = delete;
    import_slot& operator=(const import_slot&) = delete;
    ~import_slot();

    [[nodiscard]] bool found() const noexcept { return slot_ != nullptr; }
    [[nodiscard]] void* original() const noexcept { return original_; }

private:
    void** slot_ = nullptr;
    void* original_ = nullptr;
};

/// @tparam Function  the function type with its calling convention, deduced from the replacement.
template <class Function>
class import_hook
{
    static_assert(std::is_function_v<Function>);

public:
    /// @param name         the imported function's name.
    /// @param replacement  called in its place, on any thread.
    import_hook(const char* name, Function* replacement) : import_hook(kLibraryName, name, replacement) {}

    /// @param module  file name of the loaded module whose imports are changed.
    import_hook(const char* module, const char* name, Function* replacement)
        : slot_(module, name, reinterpret_cast<void*>(replacement))
    {
    }

    [[nodiscard]] bool found() const noexcept { return slot_.found(); }

    /// What the module would have called.
    [[nodiscard]] Function* original() const noexcept
    {
        return reinterpret_cast<Function*>(slot_.original());
    }

private:
    import_slot slot_;
};

} // namespace kf::test
