/// CreateArgumentsArray: quoted words come back, and any line gives the words of the rules written down literally.
/// Input: a byte, 255 to repeat the line until there are too many words; the line.

#include "fuzz/target.h"

#include <string>
#include <vector>

#include "KFramework/process.h"
#include "KFramework/process/arguments.h"
#include "KFramework/string.h"

using words = std::vector<std::string>;

namespace
{

words words_of(const std::string& line)
{
    words found;
    char** const array = KFramework::KProcesses::CreateArgumentsArray(line.c_str());
    for (char** word = array; *word != nullptr; ++word)
        found.emplace_back(*word);
    KFramework::KProcesses::DestroyArray(array);
    return found;
}

/// The line as symbols: a backslash with its quote is one symbol, which is text.
constexpr int kLiteralQuote = 256;

std::vector<int> symbols_of(const std::string& line)
{
    std::vector<int> symbols;
    for (std::size_t at = 0; at < line.size(); ++at)
    {
        if (line.compare(at, 2, "\\\"") == 0)
        {
            symbols.push_back(kLiteralQuote);
            ++at;
        }
        else
            symbols.push_back(static_cast<unsigned char>(line[at]));
    }
    return symbols;
}

/// Quotes end their word where they close; a literal quote begins none; of many words only the first count.
words split_literally(const std::string& line)
{
    words found;
    std::string word;
    bool begun = false;
    bool quoted = false;
    const auto finish = [&]
    {
        if (found.size() < kf::process::kMostWords)
            found.push_back(word);
        word.clear();
        begun = false;
    };
    for (const int symbol : symbols_of(line))
    {
        const bool blank = symbol == ' ' || symbol == '\t';
        if (symbol == kLiteralQuote)
            word += '"';
        else if (symbol == '"')
        {
            if (quoted)
                finish();
            quoted = !quoted;
        }
        else if (quoted || !blank)
        {
            word += static_cast<char>(symbol);
            begun = begun || !quoted;
        }
        else if (begun)
            finish();
    }
    if (begun)
        finish();
    return found;
}

/// Every word in quotes. A backslash cannot stand before the closing quote: such words are left out.
void check_round_trip(const std::string& text)
{
    words wanted;
    std::string line;
    for (const std::string& word : KFramework::KStringHelper::TokenizeStringNoStripe(text, "\n"))
    {
        if (word.ends_with('\\') || wanted.size() == kf::process::kMostWords)
            continue;
        wanted.push_back(word);
        line += '"' + KFramework::KStringHelper::Replace(word, "\"", "\\\"", true) + "\" ";
    }
    kf::fuzz::require(words_of(line) == wanted, "quoted words come back");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const bool many = input.byte() == 0xFF;
    const std::string_view bytes = input.rest();
    const std::string once(bytes.substr(0, bytes.find('\0')));
    std::string line = once;
    while (many && !once.empty() && line.size() < 2 * (kf::process::kMostWords + 2))
        line += once;

    const words found = words_of(line);
    kf::fuzz::require(found.size() <= kf::process::kMostWords, "there are never more words than the most");
    kf::fuzz::require(found == split_literally(line), "the words are those of the literal rules");
    check_round_trip(once);
    return 0;
}
