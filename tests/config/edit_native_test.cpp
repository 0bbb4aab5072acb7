#include "KFramework/config/edit.h"

#include <gtest/gtest.h>

using kf::config::find_section;
using kf::config::replace_key;

static_assert(kf::config::kLargestText == 2'147'483'647);

TEST(FindSection, FindsNoneInATextWhoseOffsetsDoNotFitIntoTheirType)
{
    const std::string text = "[a]\nk = 1\n"; // 10 bytes
    EXPECT_TRUE(find_section(text, "a", 10));
    EXPECT_FALSE(find_section(text, "a", 9));
}

TEST(ReplaceKey, AppendsASectionToATextInWhichNoneIsFound)
{
    std::string text = "[a]\nk = 1\n";
    replace_key(text, "a", "k", "2", 9);
    EXPECT_EQ(text, "[a]\nk = 1\n\n[a]\n\nk = 2\n");
}
