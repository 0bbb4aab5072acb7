#include "KFramework/process/arguments.h"

#include "KFramework/process.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace kf::process
{
namespace
{
/// Walks a command line once, collecting words.
class word_scanner
{
public:
    std::vector<std::string> split(std::string_view text)
    {
        word_.reserve(text.size());
        std::size_t at = 0;
        // KEPT[arguments-most-words]: what follows the last counted word is dropped.
        while (at < text.size() && words_.size() < kMostWords)
            at += take(text[at], at + 1 < text.size() ? text[at + 1] : '\0');
        // KEPT[arguments-unclosed-quote]: quoted text that began no word is dropped with its quote.
        if (in_word_)
            finish_word();
        return std::move(words_);
    }

private:
    /// Handles one character, given the one after it; gives how many were used up.
    std::size_t take(char c, char next)
    {
        if (c == '\\' && next == '"')
        {
            // KEPT[arguments-literal-quote]: begins no word, so one that stands alone is carried into the next.
            word_ += '"';
            return 2;
        }
        if (in_quotes_)
            take_quoted(c);
        else
            take_plain(c, next);
        return 1;
    }

    void take_quoted(char c)
    {
        if (c != '"')
        {
            word_ += c;
            return;
        }
        // KEPT[arguments-closing-quote]: ends the word at once, even an empty one.
        in_quotes_ = false;
        finish_word();
    }

    void take_plain(char c, char next)
    {
        const bool blank = c == ' ' || c == '\t';
        if (c == ' ' && next == ' ')
            return; // the last blank of a run stands for all
        if (c == '"')
            in_quotes_ = true; // a word already begun goes on
        else if (blank && in_word_)
            finish_word();
        else if (!blank)
        {
            in_word_ = true;
            word_ += c;
        }
    }

    void finish_word()
    {
        in_word_ = false;
        words_.push_back(word_);
        word_.clear();
    }

    std::vector<std::string> words_;
    std::string word_;
    bool in_quotes_ = false;
    bool in_word_ = false;
};

char* heap_copy(const std::string& text)
{
    auto* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr)
        throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}
} // namespace

std::vector<std::string> split_words(std::string_view command_line)
{
    return word_scanner().split(command_line);
}

char** make_array(const std::vector<std::string>& texts)
{
    auto** const array = static_cast<char**>(std::calloc(texts.size() + 1, sizeof(char*)));
    if (array == nullptr)
        throw std::bad_alloc();
    for (std::size_t i = 0; i < texts.size(); ++i)
        array[i] = heap_copy(texts[i]);
    return array;
}
} // namespace kf::process

namespace KFramework::KProcesses
{
char** CreateArgumentsArray(const char* commandLine)
{
    return kf::process::make_array(kf::process::split_words(commandLine != nullptr ? commandLine : ""));
}

void DestroyArray(char** array)
{
    if (array == nullptr)
        return;
    for (char** text = array; *text != nullptr; ++text)
        std::free(*text);
    std::free(array);
}
} // namespace KFramework::KProcesses
