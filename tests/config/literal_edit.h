#pragma once
/// The rules of editing written down as they are told, step by step, with no thought for speed: what the library's
/// own ways of doing it are compared with.

#include <map>
#include <string>

#include "KFramework/string.h"

namespace kf::test
{

inline void literal_bounds(const std::string& text, const std::string& section, long& begin, long& end)
{
    using namespace KFramework::KStringHelper;
    const std::string header = ToLower("[" + section + "]");
    begin = end = -1;
    std::size_t start = 0;
    for (std::size_t feed = text.find('\n'); feed != std::string::npos; feed = text.find('\n', start))
    {
        std::string line = text.substr(start, feed - start);
        TrimLeft(line, false);
        line = ToLower(line);
        if (line.substr(0, header.size()) == header)
        {
            begin = static_cast<long>(feed + 1);
        }
        else if (begin != -1 && !line.empty() && line[0] == '[')
        {
            end = static_cast<long>(start) - 1;
            break;
        }
        start = feed + 1;
    }
    if (begin != -1 && end == -1)
        end = static_cast<long>(text.size());
}

inline void literal_replace_key(std::string& text, const std::string& section, const std::string& key,
                                const std::string& value)
{
    using namespace KFramework::KStringHelper;
    long begin = 0;
    long end = 0;
    literal_bounds(text, section, begin, end);
    if (begin == -1 || end == -1)
    {
        text += "\n[" + section + "]\n\n" + key + " = " + value + "\n";
        return;
    }
    const std::string new_line = key + " = " + value;
    const std::string wanted = ToLower(key);
    bool found = false;
    for (long start = begin; start < end;)
    {
        std::size_t feed = text.find('\n', static_cast<std::size_t>(start));
        if (feed == std::string::npos)
            feed = text.size();
        const std::size_t length = feed - static_cast<std::size_t>(start);
        std::string name = ToLower(text.substr(static_cast<std::size_t>(start), length));
        if (const std::size_t equals = name.find('='); equals != std::string::npos)
            name.erase(equals);
        TrimLeft(name, false);
        TrimRight(name, false);
        if (name == wanted)
        {
            text.replace(static_cast<std::size_t>(start), length, new_line);
            const long grown = static_cast<long>(new_line.size()) - static_cast<long>(length);
            end += grown;
            feed = static_cast<std::size_t>(static_cast<long>(feed) + grown);
            found = true;
        }
        start = static_cast<long>(feed) + 1;
    }
    if (!found)
        text.insert(static_cast<std::size_t>(end), new_line + "\n");
}

inline void literal_replace_keys(std::string& text, const std::map<std::string, std::string>& entries)
{
    for (const auto& [name, value] : entries)
    {
        const std::size_t between = name.find('#');
        if (between != std::string::npos)
            literal_replace_key(text, name.substr(0, between), name.substr(between + 1), value);
    }
}

} // namespace kf::test
