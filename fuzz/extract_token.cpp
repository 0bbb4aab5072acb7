/// ExtractToken: what is written with quotes and escapes is read back, and no source is taken apart without end.
/// Input: the delimiter, the quote and a byte of flags; the text.

#include "fuzz/target.h"

#include <optional>
#include <string>
#include <vector>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{

/// A field as a careful writer writes it: everything that could mean something is escaped, some of it quoted.
std::string written(const std::string& field, char delimiter, char quote, bool quoted)
{
    std::string out;
    if (quoted)
        out += quote;
    for (const char c : field)
    {
        if (c == '\n' || c == '\t')
            out.append("\\").append(1, c == '\n' ? 'n' : 't');
        else if (c == '\\' || c == quote || (c == delimiter && !quoted))
            out.append("\\").append(1, c);
        else
            out += c;
    }
    if (quoted)
        out += quote;
    return out;
}

/// The lines of a text are written as fields, joined, and extracted again.
void check_round_trip(const std::string& whole, char delimiter, char quote, bool quoted)
{
    // The letters would be read as line feed and tab when escaped, and a backslash cannot delimit.
    const std::string meaningful = "nt\\";
    if (delimiter == quote || meaningful.find(delimiter) != std::string::npos ||
        meaningful.find(quote) != std::string::npos)
        return;
    const std::string delimiters(1, delimiter);
    const std::string quotes(1, quote);
    const std::vector<std::string> fields = text::TokenizeStringNoStripe(whole, "\n");
    std::string source;
    for (const std::string& field : fields)
        source += written(field, delimiter, quote, quoted) + delimiter;
    std::string token;
    for (const std::string& field : fields)
    {
        kf::fuzz::require(text::ExtractToken(source, token, delimiters.c_str(), quotes.c_str(), true),
                          "every field is found");
        kf::fuzz::require(token == field, "a field is what was written");
    }
    kf::fuzz::require(source.empty(), "nothing is left behind the last field");
}

struct extracted
{
    std::string token;
    std::size_t taken = 0;
};

/// A delimiter outside quotes ends the token; a backslash and its byte are one; a backslash at the end is text.
std::optional<extracted> extract_literally(const std::string& source, char delimiter, char quote, bool strip)
{
    extracted found;
    bool quoted = false;
    while (found.taken < source.size())
    {
        const char c = source[found.taken++];
        if (c == delimiter && !quoted)
            return found;
        if (c == '\\' && found.taken < source.size())
        {
            const char meant = source[found.taken++];
            found.token += meant == 'n' ? '\n' : meant == 't' ? '\t' : meant;
            continue;
        }
        quoted ^= c == quote;
        if (c != quote || !strip)
            found.token += c;
    }
    return quoted ? std::nullopt : std::optional<extracted>(found);
}

/// Takes tokens until there is none left, whatever the text holds.
void check_any_text(std::string source, const std::string& delimiter, const std::string& quote, bool strip)
{
    for (;;)
    {
        const std::string before = source;
        const auto expected =
            before.empty() ? std::nullopt : extract_literally(before, delimiter[0], quote[0], strip);
        std::string token = "unchanged";
        if (!text::ExtractToken(source, token, delimiter.c_str(), quote.c_str(), strip))
        {
            kf::fuzz::require(!expected, "only an empty source and an open quote fail");
            kf::fuzz::require(source == before && token == "unchanged", "a failure changes nothing");
            return;
        }
        kf::fuzz::require(expected && token == expected->token, "the token is that of the literal rules");
        kf::fuzz::require(source == before.substr(expected->taken), "and so is what is left");

        std::string in_place = before;
        kf::fuzz::require(text::ExtractToken(in_place, in_place, delimiter.c_str(), quote.c_str(), strip) &&
                              in_place == token,
                          "token and source may be the same text");
    }
}

void check_whole_delimiter(const std::string& whole, const std::string& delimiter)
{
    std::string source = whole;
    std::string token;
    if (!text::ExtractToken(source, token, delimiter.c_str()))
    {
        kf::fuzz::require(whole.empty(), "only an empty source fails");
        return;
    }
    const std::size_t found = whole.find(delimiter);
    kf::fuzz::require(token == whole.substr(0, found), "the token goes up to the delimiter");
    kf::fuzz::require(source ==
                          (found == std::string::npos ? std::string() : whole.substr(found).erase(0, 1)),
                      "one byte is skipped behind it");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const char delimiter = static_cast<char>(input.byte());
    const char quote = static_cast<char>(input.byte());
    const std::uint8_t flags = input.byte();
    // Kept short: taking the tokens of a text one by one is quadratic by nature.
    const std::string whole(input.bytes(1024));

    check_round_trip(whole, delimiter, quote, (flags & 1) != 0);
    check_any_text(whole, std::string(1, delimiter), std::string(1, quote), (flags & 2) != 0);
    const std::string long_delimiter((flags & 4) != 0 ? 2 : 1, delimiter);
    check_whole_delimiter(whole, std::string(long_delimiter.c_str()));
    return 0;
}
