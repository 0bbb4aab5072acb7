#pragma once
/// farm_server --set-password.

#include <string>

namespace farm
{
/// Reads a password from standard input and puts its key into a farm.conf, which is made if need be. Says what it
/// did. Gives the program's exit code.
int set_password(const char* program, const std::string& path);
} // namespace farm
