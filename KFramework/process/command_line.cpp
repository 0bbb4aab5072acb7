#include "KFramework/process/command_line.h"

namespace kf::process
{
std::string child_command_line(std::string_view executable, std::string_view arguments)
{
    // KEPT[command-line-cut]: only the line is cut; the child is started from the whole path.
    const std::string_view path = executable.substr(0, kExecutableBytes);
    const std::string_view rest = arguments.substr(0, kArgumentsBytes);
    std::string line;
    line.reserve(path.size() + rest.size() + 3); // one buffer, so that one wipe clears it
    line += '"';
    line += path;
    line += "\" ";
    line += rest;
    return line;
}
} // namespace kf::process
