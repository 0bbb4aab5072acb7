/// append_blocks against a walk over every byte. Input: how often the text is repeated, as a byte; the text.

#include "fuzz/target.h"

#include <string>

#include "KFramework/string/text_blocks.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const unsigned repeats = 1 + input.byte() % 16u;
    const std::string_view once = input.rest();
    std::string bytes;
    for (unsigned i = 0; i < repeats; ++i)
        bytes += once;

    std::string expected = "before";
    bool lost = false;
    for (std::size_t at = 0; at < bytes.size(); ++at)
    {
        lost = (lost && at % kf::string::kBlockBytes != 0) || bytes[at] == '\0';
        if (!lost)
            expected += bytes[at];
    }
    std::string content = "before";
    kf::string::append_blocks(content, bytes);
    kf::fuzz::require(content == expected, "of each block what follows its first NUL is lost");
    kf::fuzz::require(kf::string::up_to_nul(bytes) == bytes.c_str(), "a C text ends at its first NUL");
    return 0;
}
