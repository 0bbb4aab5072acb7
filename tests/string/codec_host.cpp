/// What string_oracles.py drives: each line of standard input names a function and gives its argument in
/// hexadecimal ("-" when empty) and for some a number; each line of output is the result, and for some first 0 or 1.

#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "KFramework/string.h"

namespace
{
using namespace KFramework;
using namespace KFramework::KStringHelper;

std::string to_hex(const std::string& bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes)
    {
        text += digits[static_cast<unsigned char>(c) / 16];
        text += digits[static_cast<unsigned char>(c) % 16];
    }
    return text.empty() ? "-" : text;
}

std::string from_hex(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    return bytes;
}

std::string encode(const std::string& bytes)
{
    char* text = nullptr;
    const unsigned long long counted = KBase64::EncodeAlloc(bytes.data(), bytes.size(), &text);
    const std::string result(text, counted - 1);
    KBase64::DeleteBuffer(&text);
    return to_hex(result);
}

std::string decode(const std::string& text, std::size_t room)
{
    std::string bytes(room, '\0');
    unsigned long long size = room;
    const bool whole = KBase64::Decode(text.data(), text.size(), bytes.data(), &size);
    return (whole ? "1 " : "0 ") + to_hex(bytes.substr(0, size));
}

/// Appended in pieces of this size.
std::string md5(const std::string& bytes, std::size_t piece)
{
    TZMd5::md5_state_s state;
    TZMd5::md5_init(&state);
    for (std::size_t at = 0; at < bytes.size(); at += piece)
    {
        const std::string part = bytes.substr(at, piece);
        TZMd5::md5_append(&state, reinterpret_cast<const unsigned char*>(part.data()),
                          static_cast<int>(part.size()));
    }
    unsigned char digest[16];
    TZMd5::md5_finish(&state, digest);
    char text[33];
    return TZMd5::md5_string(digest, text);
}

using text_function = std::string (*)(const std::string&);
const std::map<std::string, text_function> kTextFunctions = {
    {"to_base64", &ToBase64},      {"from_base64", &FromBase64},
    {"json", &jsonEncoder},        {"json_string", &EncodeJSONString},
    {"xml", &EncodeXML},           {"html", &EncodeHTML},
    {"sql", &EncodeSQL},           {"url", &EncodeURL},
    {"unurl", &DecodeURL},         {"unform", &DecodeGetURL},
    {"filename", &EncodeFilename}, {"shell", &EscapeForPosixShell},
    {"web_path", &WebSanityCheck}};
} // namespace

int main()
{
    std::ios::sync_with_stdio(false);
    for (std::string line; std::getline(std::cin, line);)
    {
        std::istringstream words(line);
        std::string function, argument;
        std::size_t number = 0;
        words >> function >> argument >> number;
        const std::string bytes = from_hex(argument);
        if (function == "encode")
            std::cout << encode(bytes);
        else if (function == "decode")
            std::cout << decode(bytes, number);
        else if (function == "md5")
            std::cout << md5(bytes, number);
        else if (const auto found = kTextFunctions.find(function); found != kTextFunctions.end())
            std::cout << to_hex(found->second(bytes));
        else
            return 1;
        std::cout << '\n';
    }
    return 0;
}
