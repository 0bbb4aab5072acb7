/// Our words beside the system's own, and where the two differ on purpose.

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"

#include <gtest/gtest.h>

#include <shellapi.h>
#include <string>
#include <vector>

namespace
{
using words = std::vector<std::string>;

words ours(const std::string& line)
{
    char** const array = KFramework::KProcesses::CreateArgumentsArray(line.c_str());
    words result;
    for (char** word = array; *word != nullptr; ++word)
        result.emplace_back(*word);
    KFramework::KProcesses::DestroyArray(array);
    return result;
}

/// The system's words; it has rules of its own for the first one, so there is one in front.
words theirs(const std::string& line)
{
    const std::string whole = "p " + line;
    int count = 0;
    const kf::platform::local_memory<wchar_t*> array(
        ::CommandLineToArgvW(std::wstring(whole.begin(), whole.end()).c_str(), &count));
    words result;
    for (int i = 1; i < count; ++i)
    {
        const std::wstring word = array.get()[i];
        result.emplace_back(word.begin(), word.end());
    }
    return result;
}
} // namespace

TEST(CreateArgumentsArray, AgreesWithTheSystemOnPlainLines)
{
    for (const char* const line :
         {"", "a", "a b", "  a \t b  ", "\"a b\" c", "\"\"", "a \"\" b", "ab\"cd\"", "ab\"c d\" e", "\\\"q",
          "a\\\"b", "\"a\\\"b\"", "C:\\dir\\x", "\"C:\\my dir\\x\" -y", "a\\ b", "\\", "x\"y",
          "-o \"C:\\out put.png\" 12"})
        EXPECT_EQ(ours(line), theirs(line)) << line;
}

// KEPT[arguments-closing-quote]
// KEPT[arguments-literal-quote]
// KEPT[arguments-unclosed-quote]
TEST(CreateArgumentsArray, DiffersFromTheSystemWhereIntended)
{
    struct difference
    {
        const char* line;
        words ours;
        words theirs;
    };
    const difference table[] = {
        {"\"ab\"cd", {"ab", "cd"}, {"abcd"}}, // a closing quote ends the word
        {"\"a\" \"b\"c\"d\"", {"a", "b", "cd"}, {"a", "bcd"}},
        {"\\\\\"q\"", {"\\\"q"}, {"\\q"}}, // backslashes are not counted in pairs
        {"\"C:\\dir\\\\\"", {}, {"C:\\dir\\"}},
        {"\\\" q", {"\"q"}, {"\"", "q"}}, // a literal quote alone is no word
        {"\"open", {}, {"open"}},         // an unclosed quote is dropped
        {"a \"open b", {"a"}, {"a", "open b"}},
    };
    for (const difference& one : table)
    {
        EXPECT_EQ(ours(one.line), one.ours) << one.line;
        EXPECT_EQ(theirs(one.line), one.theirs) << one.line;
    }
}

TEST(CreateArgumentsArray, AgreesWithWhatAChildSees)
{
    const std::string line = "a  \"b c\" \"\" \\\"d\\\" e\\f";
    const kf::test::spawned_child child("echo_arguments", line);
    std::string expected;
    for (const std::string& word : ours(line))
        expected += "[" + word + "]\n";
    EXPECT_EQ(child.output(), expected);
}
