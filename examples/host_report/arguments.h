#pragma once
/// The command line. Portable.

#include <string>
#include <vector>

namespace host_report
{
struct request
{
    bool help = false;
    bool watch = false;
    int rounds = 1; ///< 0: until somebody stops the program
};

extern const char* const kUsage;

/// Reads the words behind the program's name; gives nothing, or what is wrong with them, in one line.
std::string read_arguments(const std::vector<std::string>& words, request& wanted);
} // namespace host_report
