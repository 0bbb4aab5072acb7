#include "KFramework/process/batch_environment.h"

#include "KFramework/string.h"

#include <algorithm>
#include <string_view>

namespace kf::process
{
namespace
{
constexpr std::string_view kDelimiter = "=====KARVEL=====";
/// The delimiter and the one character after it, whatever that is.
constexpr std::size_t kSkippedBytes = kDelimiter.size() + 1;
} // namespace

std::string batch_arguments(const std::string& shell, const std::string& batch_file)
{
    // KEPT[merge-shell-twice]: the command line begins with the quoted shell already.
    return shell + " /C \"" + batch_file + "\" & echo " + std::string(kDelimiter) + " & set";
}

void merge_printed_variables(const std::string& printed, environment_table& table)
{
    const std::size_t delimiter = printed.find(kDelimiter);
    if (delimiter == std::string::npos)
        return;
    const std::string behind = printed.substr(std::min(delimiter + kSkippedBytes, printed.size()));
    for (const std::string& line : KFramework::KStringHelper::TokenizeString(behind, "\n"))
    {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || equals == 0)
            continue;
        // KEPT[merge-keeps-return]: the value goes to the end of the line, its "\r" included.
        table[line.substr(0, equals)] = line.substr(equals + 1);
    }
}
} // namespace kf::process
