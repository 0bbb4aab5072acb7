#include <initializer_list>
#include <string_view>
#include <utility>

#include "KFramework/string.h"
#include "KFramework/string/byte_texts.h"

namespace
{
using kf::string::byte_texts;

constexpr unsigned kFirstBeyondAscii = 128;

constexpr byte_texts texts_for(std::initializer_list<std::pair<char, std::string_view>> changed)
{
    byte_texts texts;
    for (const auto& [byte, text] : changed)
        texts.set(static_cast<unsigned char>(byte), text);
    return texts;
}

// KEPT[json-control-bytes]: the other control bytes have no entry, and no entry has the form \u.
// KEPT[json-backslash-first]: each byte of the text is looked at once, so no backslash of an escape is doubled.
constexpr byte_texts kJson = texts_for({{'\\', "\\\\"},
                                        {'"', "\\\""},
                                        {'\n', "\\n"},
                                        {'\b', "\\b"},
                                        {'\f', "\\f"},
                                        {'\r', "\\r"},
                                        {'\t', "\\t"}});

// KEPT[bare-ampersand-entity]: "&amp" has no semicolon.
constexpr byte_texts kXml =
    texts_for({{'&', "&amp"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}});

constexpr byte_texts kHtml = []
{
    byte_texts texts = kXml;
    for (unsigned byte = kFirstBeyondAscii; byte < 256; ++byte)
    {
        // KEPT[html-signed-bytes]: the byte as a signed number, without a semicolon.
        const unsigned value = 256 - byte;
        char text[6] = {'&', '#', '-'};
        std::size_t length = 3;
        for (unsigned power = 100; power > 0; power /= 10)
            if (value >= power)
                text[length++] = static_cast<char>('0' + value / power % 10);
        texts.set(static_cast<unsigned char>(byte), {text, length});
    }
    return texts;
}();

constexpr byte_texts kSql = texts_for({{'\'', "''"}});

constexpr byte_texts kFilename = []
{
    byte_texts texts;
    for (const char c : std::string_view(";=+<>|\"'\\/[]?*:"))
        texts.set(static_cast<unsigned char>(c), "#");
    for (unsigned byte = kFirstBeyondAscii; byte < 256; ++byte)
        texts.set(static_cast<unsigned char>(byte), "#");
    return texts;
}();

std::string written_with(const byte_texts& texts, const std::string& s)
{
    std::string result;
    texts.append_to(result, s);
    return result;
}
} // namespace

namespace KFramework::KStringHelper
{
std::string EncodeJSONString(const std::string& s)
{
    return written_with(kJson, s);
}

std::string jsonEncoder(const std::string& s)
{
    std::string result = "\"";
    kJson.append_to(result, s);
    result += '"';
    return result;
}

std::string EncodeXML(const std::string& s)
{
    return written_with(kXml, s);
}

std::string xmlEncoder(const std::string& s)
{
    return EncodeXML(s);
}

std::string EncodeHTML(const std::string& s)
{
    return written_with(kHtml, s);
}

std::string EncodeSQL(const std::string& s)
{
    return written_with(kSql, s);
}

std::string EncodeFilename(const std::string& s)
{
    return written_with(kFilename, s);
}

std::string EscapeForPosixShell(const std::string& s)
{
    std::string result;
    result.reserve(s.size());
    bool quoted = false;
    for (const char c : s)
    {
        // KEPT[posix-drops-quotes]: quotes turn into escaped blanks.
        if (c == '"')
        {
            quoted = !quoted;
            continue;
        }
        if (c == ' ' && quoted)
            result += '\\';
        result += c;
    }
    return result;
}
} // namespace KFramework::KStringHelper
