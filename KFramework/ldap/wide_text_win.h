#pragma once

#include "KFramework/platform/wide_text_win.h"

namespace kf::ldap
{
using platform::wide_text;

/// Gives a caller that wants to know the reason of a failure.
inline void report(unsigned int* error, unsigned long code)
{
    if (error != nullptr)
        *error = static_cast<unsigned int>(code);
}
} // namespace kf::ldap
