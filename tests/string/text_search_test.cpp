#include <random>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string/text_search.h"

TEST(TextSearch, FindsWhatThePlainSearchFinds)
{
    std::mt19937 random(20260105);
    const auto random_text = [&](std::size_t size)
    {
        std::string text(size, ' ');
        for (char& c : text)
            c = "ab"[random() % 2];
        return text;
    };
    for (int round = 0; round < 50000; ++round)
    {
        const std::string text = random_text(random() % 20);
        const std::string what = random_text(1 + random() % 6);
        const std::size_t position = random() % 24;
        ASSERT_EQ(kf::string::text_search(what).find(text, position), text.find(what, position))
            << text << " / " << what << " / " << position;
    }
}
