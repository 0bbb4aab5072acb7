/// TokenizeInlinePython against a walk over every byte. Input: the text.

#include "fuzz/target.h"

#include <string>
#include <vector>

#include "KFramework/string.h"

using words = std::vector<std::string>;

namespace
{

/// A block ends at the first end behind its opening "<", whose "%" may be the one that opened it.
words cut_literally(const std::string& text)
{
    words pieces;
    std::string literal;
    std::string block;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (block.empty() && text.compare(at, 2, "<%") == 0)
        {
            if (!literal.empty())
                pieces.push_back(literal);
            block = "<";
        }
        else if (!block.empty())
        {
            block += text[at];
            if (block.size() > 2 && block.ends_with("%>"))
            {
                pieces.push_back(block);
                block.clear();
                literal.clear();
            }
        }
        else
            literal += text[at];
    }
    // An open block is dropped, and the literal before it comes a second time; without a block it comes once.
    if (!literal.empty())
        pieces.push_back(literal);
    return pieces;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const words pieces = KFramework::KStringHelper::TokenizeInlinePython(text);
    kf::fuzz::require(pieces == cut_literally(text), "the pieces are those of the literal rules");
    std::size_t bytes = 0;
    for (const std::string& piece : pieces)
    {
        kf::fuzz::require(!piece.empty(), "no piece is empty");
        bytes += piece.size();
    }
    kf::fuzz::require(bytes <= 2 * text.size(), "only one piece comes twice");
    return 0;
}
