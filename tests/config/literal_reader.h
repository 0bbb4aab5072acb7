#pragma once
/// The rules of reading written down as they are told, line by line over a buffer of 2047 bytes: what the library's
/// own way of doing it is compared with.

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "KFramework/string.h"

namespace kf::test
{

/// What reading leaves behind.
struct literal_result
{
    std::map<std::string, std::string> entries;
    int malformed_line = 0; ///< 0 when no line was malformed
};

/// A text that is read like a file of the C runtime.
class text_file
{
public:
    explicit text_file(std::string bytes) : bytes_(std::move(bytes)) {}

    /// As fgets.
    void get_line(char* buffer, int size)
    {
        int used = 0;
        while (used < size - 1)
        {
            if (at_ == bytes_.size())
            {
                ended_ = true;
                break;
            }
            buffer[used++] = bytes_[at_++];
            if (buffer[used - 1] == '\n')
                break;
        }
        if (used != 0)
            buffer[used] = '\0';
    }

    /// As feof or ferror.
    [[nodiscard]] bool ended() const { return ended_; }

private:
    std::string bytes_;
    std::size_t at_ = 0;
    bool ended_ = false;
};

/// @param file  has get_line and ended as text_file.
template <class File>
literal_result literal_load(File& file)
{
    using namespace KFramework::KStringHelper;
    constexpr int kBufferBytes = 2047;
    literal_result result;
    std::string section = "_default_";
    int line_number = 0;
    while (!file.ended())
    {
        ++line_number;
        char buffer[kBufferBytes] = "";
        file.get_line(buffer, kBufferBytes);
        if (file.ended())
            break;
        char* from = buffer;
        if (*from == '\r')
            ++from;
        if (*from == '\n')
            ++from;
        std::string line = from;
        TrimLeft(line, false);
        if (!line.empty())
            line.pop_back();
        if (line.empty())
            continue;
        if (line[0] == '[')
        {
            const std::size_t end = line.find(']');
            if (end == std::string::npos)
            {
                result.malformed_line = line_number;
                break;
            }
            section = line.substr(1, end - 1);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (line[0] == '#' || equals == std::string::npos || equals == 0)
            continue;
        std::string name = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        TrimRight(name, false);
        TrimLeft(value, false);
        result.entries.insert({ToLower(section + "#" + name), value});
    }
    return result;
}

} // namespace kf::test
