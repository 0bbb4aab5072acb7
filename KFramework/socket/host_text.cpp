#include "KFramework/socket/host_text.h"

#include "KFramework/string.h"

namespace kf::socket
{

host_parts split_zone(std::string_view text) noexcept
{
    const std::size_t percent = text.find('%');
    if (percent == std::string_view::npos)
        return {text, {}};
    return {text.substr(0, percent), text.substr(percent + 1)};
}

void copy_bounded(char* to, std::size_t room, std::string_view from) noexcept
{
    const std::size_t length = from.copy(to, room - 1);
    to[length] = '\0';
}

std::string escape_percent(const std::string& host)
{
    return KFramework::KStringHelper::Replace(host, "%", "%%", true);
}

} // namespace kf::socket
