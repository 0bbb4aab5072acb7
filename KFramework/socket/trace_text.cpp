#include "KFramework/socket/trace_text.h"

namespace kf::socket
{

std::optional<std::string> trace_path(const std::string& folder, const std::string& host, int port)
{
    if (host.find_first_of("/\\") != std::string::npos)
        return std::nullopt;
    return folder + host + "#" + std::to_string(port);
}

std::string trace_opening(const std::string& host, int port)
{
    return "Starting packets tracing on connection from " + host + ":" + std::to_string(port) + "\n\n";
}

std::string trace_bytes(const char* bytes, std::size_t count)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text(count * 3, ' ');
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text[3 * i] = kDigits[byte >> 4];
        text[3 * i + 1] = kDigits[byte & 15];
    }
    return text;
}

} // namespace kf::socket
