#pragma once
/// Random file texts and entries from small alphabets, so that names, headers and edges meet often.

#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace kf::test
{

/// How many texts a test tries; KF_RANDOM_TEXTS asks for more than the default.
inline int random_texts(int usual)
{
    const char* const wanted = std::getenv("KF_RANDOM_TEXTS");
    return wanted != nullptr ? std::atoi(wanted) : usual;
}

class random_settings
{
public:
    explicit random_settings(unsigned seed) : engine_(seed) {}

    std::size_t below(std::size_t limit) { return engine_() % limit; }

    const std::string& one_of(const std::vector<std::string>& choices)
    {
        return choices[below(choices.size())];
    }

    /// @param ordinary  without keys and values that cut lines.
    std::map<std::string, std::string> entries(bool ordinary)
    {
        std::map<std::string, std::string> made;
        for (std::size_t count = below(7); count > 0; --count)
        {
            const bool odd = !ordinary && below(6) == 0;
            const std::string name =
                one_of(odd ? odd_sections_ : sections_) + "#" + one_of(odd ? odd_keys_ : keys_);
            made[name] = one_of(odd ? odd_values_ : values_);
        }
        if (!ordinary && below(10) == 0)
            made["b"] = "no section";
        return made;
    }

    std::string text()
    {
        std::string made;
        for (std::size_t count = below(10); count > 0; --count)
        {
            made += one_of(lines_);
            made += below(12) == 0 ? "" : "\n";
        }
        if (below(2) == 0)
            made += '\n';
        return made;
    }

private:
    std::mt19937 engine_;
    std::vector<std::string> sections_ = {"a", "b", "", "c d", "[a"};
    std::vector<std::string> keys_ = {"k", "l", "kl", "k = v", "m n", "#k", "p"};
    std::vector<std::string> values_ = {"", "1", "l", "[b]", "=", " x "};
    std::vector<std::string> odd_sections_ = {"A", "a]", "a]b", "b\n", "a#b"};
    std::vector<std::string> odd_keys_ = {"",  "K",    " k",     "k ", "k=",  "[b]",
                                          "[", "k\nl", "l\n[b]", "\n", "\tk", "="};
    std::vector<std::string> odd_values_ = {"\n", "1\n[b]", "1\n[b]\n", "2\nl = 3", "[a]"};
    std::vector<std::string> lines_ = {"",       "",      "",    " ",       "[a]",   "[A]x", "  [b]",
                                       "[b",     "[",     "[]",  "[c d]",   "[a]b]", "[[a]", "\t[a]",
                                       "k = 1",  "K=2",   "l",   "kl",      " l = ", "k",    "# note",
                                       "#k = 5", "m n =", "= 3", "p = a=b", "k\r",   "[b]\r"};
};

} // namespace kf::test
