#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/filesystem/directory_steps.h"

namespace
{
using texts = std::vector<std::string>;

texts steps_of(const std::string& path)
{
    texts folders;
    for (kf::filesystem::directory_steps steps(path); steps.next();)
        folders.push_back(steps.folder());
    return folders;
}
} // namespace

TEST(DirectorySteps, GoFromTheOutermostFolderToTheWholePath)
{
    EXPECT_EQ(steps_of("C:\\a\\b"), (texts{"C:", "C:\\a", "C:\\a\\b"}));
    EXPECT_EQ(steps_of("a"), (texts{"a"}));
}

TEST(DirectorySteps, SkipEmptyNames)
{
    EXPECT_EQ(steps_of("a\\\\\\b\\"), (texts{"a", "a\\b"}));
    EXPECT_EQ(steps_of("\\a"), (texts{"a"}));
}

TEST(DirectorySteps, KeepTheTwoBackslashesOfANetworkPath)
{
    EXPECT_EQ(steps_of("\\\\host\\share\\x"), (texts{"\\\\host", "\\\\host\\share", "\\\\host\\share\\x"}));
    EXPECT_EQ(steps_of("\\\\\\host"), (texts{"\\\\host"}));
}

// KEPT[leading-slash-doubled]
TEST(DirectorySteps, DoubleALeadingSlash)
{
    EXPECT_EQ(steps_of("/a/b\\c"), (texts{"//a/b", "//a/b\\c"}));
    EXPECT_EQ(steps_of("/"), (texts{"//"}));
}

TEST(DirectorySteps, AreNoneForAPathWithoutNames)
{
    EXPECT_EQ(steps_of(""), texts{});
    EXPECT_EQ(steps_of("\\"), texts{});
    EXPECT_EQ(steps_of("\\\\"), texts{});
    EXPECT_EQ(steps_of("\\\\\\\\"), texts{});
}
