#pragma once
/// The library once more, under another name and so with a process-wide state of its own: for what it
/// computes only once, and for what holds before it is initialised.

#include <string>

#include "tests/support/temporary_folder.h"

struct HINSTANCE__;

namespace kf::test
{

class library_copy
{
public:
    library_copy();
    library_copy(const library_copy&) = delete;
    library_copy& operator=(const library_copy&) = delete;
    ~library_copy();

    /// File name for import_hook; lives as long as the copy.
    [[nodiscard]] const char* name() const noexcept { return name_.c_str(); }

    /// An exported function of the copy.
    ///
    /// @tparam Function  the function's type.
    /// @param mangled    its name as this compiler exports it. An unknown one fails the test.
    template <class Function>
    [[nodiscard]] Function* function(const char* mangled) const
    {
        return reinterpret_cast<Function*>(find(mangled));
    }

private:
    void* find(const char* mangled) const;

    temporary_folder folder_;
    std::string name_;
    HINSTANCE__* module_ = nullptr;
};

} // namespace kf::test
