#pragma once

#include "KFramework/process/environment.h"

#include <string>

namespace kf::process
{
/// The shell that runs a batch file when the environment names none.
inline constexpr const char* kDefaultShell = "C:\\WINDOWS\\SYSTEM32\\CMD.EXE";

/// The arguments of a shell that runs a batch file, then prints a delimiter,
/// then every variable it has.
std::string batch_arguments(const std::string& shell, const std::string& batch_file);

/// Takes over the variables that stand behind the delimiter in what the shell
/// printed; without a delimiter the table stays as it is.
void merge_printed_variables(const std::string& printed, environment_table& table);
} // namespace kf::process
