/// What the shell is told, and what is read back from it.

#include "KFramework/process/batch_environment.h"

#include <gtest/gtest.h>

namespace
{
using kf::process::batch_arguments;
using kf::process::environment_table;

environment_table merged(const std::string& printed, environment_table table = {})
{
    kf::process::merge_printed_variables(printed, table);
    return table;
}
} // namespace

// KEPT[merge-shell-twice]
TEST(BatchArguments, BeginWithTheShellItself)
{
    EXPECT_EQ(batch_arguments("C:\\w\\cmd.exe", "D:\\my job\\set up.bat"),
              "C:\\w\\cmd.exe /C \"D:\\my job\\set up.bat\" & echo =====KARVEL===== & set");
}

// KEPT[merge-keeps-return]
TEST(MergePrintedVariables, KeepsTheReturnAtTheEndOfEveryValue)
{
    EXPECT_EQ(merged("noise\r\n=====KARVEL===== \r\nA=1\r\nB=\r\n"),
              (environment_table{{"A", "1\r"}, {"B", "\r"}}));
    EXPECT_EQ(merged("=====KARVEL=====\r\nA=1\nB=2"), (environment_table{{"A", "1"}, {"B", "2"}}));
}

TEST(MergePrintedVariables, OverwritesAndInserts)
{
    const environment_table table{{"A", "old"}, {"Path", "kept"}};
    EXPECT_EQ(merged("=====KARVEL===== \nA=new\nPATH=other\n", table),
              (environment_table{{"A", "new"}, {"PATH", "other"}, {"Path", "kept"}}));
}

TEST(MergePrintedVariables, CutsAtTheFirstEqualsSign)
{
    EXPECT_EQ(merged("=====KARVEL===== \nA=b=c=\n"), (environment_table{{"A", "b=c="}}));
}

TEST(MergePrintedVariables, IgnoresLinesWithoutANameOrAnEqualsSign)
{
    EXPECT_EQ(merged("=====KARVEL===== \n\n\r\ntext\n=C:=C:\\\n"), (environment_table{}));
}

TEST(MergePrintedVariables, ChangesNothingWithoutTheDelimiter)
{
    const environment_table table{{"A", "1"}};
    EXPECT_EQ(merged("", table), table);
    EXPECT_EQ(merged("A=2\r\n====KARVEL=====\r\nA=3\r\n", table), table);
}

TEST(MergePrintedVariables, BeginsBehindTheFirstDelimiter)
{
    EXPECT_EQ(merged("A=0\n=====KARVEL===== \nA=1\n=====KARVEL===== \nB=2\n"),
              (environment_table{{"A", "1"}, {"B", "2"}}));
}

TEST(MergePrintedVariables, SkipsExactlyOneCharacterBehindTheDelimiter)
{
    EXPECT_EQ(merged("=====KARVEL=====xA=1\n"), (environment_table{{"A", "1"}}));
}

TEST(MergePrintedVariables, StandsEveryCutOfTheText)
{
    const std::string whole = "x\r\n=====KARVEL===== \r\nAB=12\r\nC=3\r\n";
    for (std::size_t length = 0; length <= whole.size(); ++length)
    {
        environment_table expected;
        if (length >= whole.find("AB=") + 3)
            expected["AB"] = whole.substr(0, length).substr(whole.find("AB=") + 3, 3);
        if (length >= whole.find("C=") + 2)
            expected["C"] = whole.substr(0, length).substr(whole.find("C=") + 2, 2);
        EXPECT_EQ(merged(whole.substr(0, length)), expected) << length;
    }
}
