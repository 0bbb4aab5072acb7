#include "protocol.h"

#include "job.h"
#include "numbers.h"
#include "password.h"

#include <algorithm>
#include <map>

namespace farm
{
namespace
{
constexpr std::size_t kLongestName = 40;

using field_map = std::map<std::string_view, std::string_view>;

// "key=value" lines; a key may stand once.
std::optional<field_map> parse_fields(std::string_view text)
{
    field_map fields;
    while (!text.empty())
    {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const auto equals = line.find('=');
        if (equals == std::string_view::npos ||
            !fields.emplace(line.substr(0, equals), line.substr(equals + 1)).second)
            return std::nullopt;
    }
    return fields;
}

bool fit_for_a_name(std::string_view name)
{
    const auto allowed = [](char c)
    {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_';
    };
    return !name.empty() && name.size() <= kLongestName && std::all_of(name.begin(), name.end(), allowed);
}
// In quotes it stays one argument of a command line.
bool fit_for_quotes(std::string_view mask)
{
    return !mask.empty() && mask.find('"') == std::string_view::npos && mask.back() != '\\';
}
} // namespace

std::string to_text(const hello& value)
{
    std::string text;
    text.reserve(kLongestName + kLongestPassword + 20); // grows nowhere else
    text.append("name=").append(value.name).append("\n");
    if (!value.password.empty())
        text.append("password=").append(value.password.text()).append("\n");
    return text;
}

std::string to_text(const order& value)
{
    return "frame=" + std::to_string(value.frame) + "\nmask=" + value.mask + "\n";
}

std::optional<hello> parse_hello(std::string_view text)
{
    const auto fields = parse_fields(text);
    if (!fields || !fields->contains("name") || !fit_for_a_name(fields->at("name")))
        return std::nullopt;
    hello value{std::string(fields->at("name"))};
    if (fields->size() == 1)
        return value;
    if (fields->size() != 2 || !fields->contains("password"))
        return std::nullopt;
    value.password = secret(std::string(fields->at("password")));
    if (!value.password.empty() && !wrong_password(value.password.text()).empty())
        return std::nullopt;
    return value;
}

std::optional<order> parse_order(std::string_view text)
{
    const auto fields = parse_fields(text);
    if (!fields || fields->size() != 2 || !fields->contains("frame") || !fields->contains("mask") ||
        !fit_for_quotes(fields->at("mask")))
        return std::nullopt;
    const auto frame = number_between(fields->at("frame"), 0, kLargestNumber);
    if (!frame)
        return std::nullopt;
    return order{*frame, std::string(fields->at("mask"))};
}

std::string printable(std::string_view text, std::size_t longest)
{
    std::string line(text.substr(0, longest));
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
    std::replace_if(line.begin(), line.end(), is_control, ' ');
    return line;
}
} // namespace farm
