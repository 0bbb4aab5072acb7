#pragma once
/// Where a program gets a password from: never from its command line, which every other program can read.

#include "secret.h"

namespace farm
{
/// The environment variable of the worker's password.
inline constexpr const wchar_t* kPasswordVariable = L"FARM_PASSWORD";

/// Reads one line of standard input; a console is asked twice and shows nothing of it.
///
/// @param password  receives the password; empty when something is wrong.
/// @return  empty, or what is wrong.
std::string read_password(secret& password);

/// Takes the variable's text out of the environment, which every child would inherit; empty when there is none.
secret take_environment_password();
} // namespace farm
