#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <utf8.h>

#include "KFramework/string.h"

TEST(fixUtf8String, GivesWhatReplaceInvalidGives)
{
    std::mt19937 random(20260104);
    for (int round = 0; round < 100000; ++round)
    {
        std::string bytes(random() % 16, '\0');
        for (char& c : bytes)
            c = random() % 2 == 0 ? "a\x80\xBF\xC3\xE2\x82\xAC\xF0\x9F\xED\xA0\xFF"[random() % 12]
                                  : static_cast<char>(random() % 256);
        std::string expected;
        utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(expected));
        ASSERT_EQ(KFramework::KStringHelper::fixUtf8String(bytes), expected);
    }
}
