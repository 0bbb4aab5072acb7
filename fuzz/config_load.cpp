/// The configuration reader against the rules written down literally, line by line over a buffer of 2047 bytes. Input:
/// two bytes, the sizes of the portions that the reader takes in turn (times 16, plus 1), then the file.

#include "fuzz/target.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "KFramework/config/reader.h"
#include "tests/config/literal_reader.h"

namespace
{

kf::test::literal_result read_in_portions(std::string_view file, std::size_t one, std::size_t other)
{
    kf::test::literal_result result;
    kf::config::reader reader(result.entries);
    while (!file.empty())
    {
        const std::string portion(file.substr(0, one)); // its own memory, so that reading past it is seen
        if (!reader.take(portion))
        {
            result.malformed_line = reader.line();
            break;
        }
        file.remove_prefix(portion.size());
        std::swap(one, other);
    }
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::size_t one = input.byte() * 16u + 1;
    const std::size_t other = input.byte() * 16u + 1;
    const std::string file(input.rest());
    kf::test::text_file lines(file);
    const kf::test::literal_result expected = kf::test::literal_load(lines);
    const kf::test::literal_result got = read_in_portions(file, one, other);
    kf::fuzz::require(got.entries == expected.entries, "the entries are those of the literal rules");
    kf::fuzz::require(got.malformed_line == expected.malformed_line, "and so is the malformed line");
    return 0;
}
