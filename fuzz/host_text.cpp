/// What hosts are called in texts: zones, bounded copies, escapes, trace paths. Input: a port in four bytes; the text.

#include "fuzz/target.h"

#include <optional>
#include <string>
#include <vector>

#include "KFramework/socket/host_text.h"
#include "KFramework/socket/trace_text.h"

namespace
{

void check_zone(const std::string& text)
{
    const kf::socket::host_parts parts = kf::socket::split_zone(text);
    std::string again(parts.host);
    kf::fuzz::require(again.find('%') == std::string::npos, "the host has no percent sign");
    if (again.size() < text.size())
        again.append("%").append(parts.scope);
    kf::fuzz::require(again == text, "host and zone give the text again");
}

void check_copy(const std::string& text, std::size_t room)
{
    std::vector<char> to(room, 'x'); // a block of its own, so that a byte too many is seen
    kf::socket::copy_bounded(to.data(), room, text);
    const std::string expected = text.substr(0, room - 1) + '\0';
    kf::fuzz::require(std::string(to.data(), expected.size()) == expected,
                      "as much as fits, and a terminator");
}

/// What a printf format with no arguments prints: two percent signs are one.
std::optional<std::string> printed(const std::string& format)
{
    std::string text;
    for (std::size_t at = 0; at < format.size(); ++at)
    {
        if (format[at] == '%' && format.compare(at++, 2, "%%") != 0)
            return std::nullopt;
        text += format[at];
    }
    return text;
}

void check_trace(const std::string& host, int port)
{
    const std::optional<std::string> path = kf::socket::trace_path("c:\\traces\\", host, port);
    kf::fuzz::require(path.has_value() == (host.find_first_of("/\\") == std::string::npos),
                      "a host with a separator has no trace");
    if (path)
        kf::fuzz::require(path->find_first_of("/\\", 10) == std::string::npos &&
                              path->starts_with("c:\\traces\\"),
                          "a trace never leaves its folder");

    const std::string digits = kf::socket::trace_bytes(host.data(), host.size());
    kf::fuzz::require(digits.size() == 3 * host.size(), "every byte is two digits and a blank");
    for (std::size_t i = 0; i < host.size(); ++i)
        kf::fuzz::require(std::stoul(digits.substr(3 * i, 3), nullptr, 16) ==
                              static_cast<unsigned char>(host[i]),
                          "the digits are the byte's");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::uint32_t number = input.number();
    const std::string text(input.rest());
    check_zone(text);
    check_copy(text, 1 + number % 64);
    kf::fuzz::require(printed(kf::socket::escape_percent(text)) == text, "an escaped host prints as itself");
    check_trace(text, static_cast<int>(number));
    return 0;
}
