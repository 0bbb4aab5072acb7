#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/config.h"

using KFramework::CKConfigManager;
using KFramework::GetConfigValue;
using KFramework::SetConfigValue;

TEST(GetConfigValue, FindsSectionAndKeyInAnyCase)
{
    CKConfigManager manager;
    manager.entries["net#port"] = "80";
    EXPECT_EQ(GetConfigValue(&manager, "NET", "PORT", 1), 80);
    EXPECT_EQ(GetConfigValue(&manager, "net", "Port", 1L), 80L);
    EXPECT_EQ(GetConfigValue(&manager, "Net", "port", "none"), "80");
}

TEST(GetConfigValue, GivesTheDefaultForAnAbsentKey)
{
    CKConfigManager manager;
    manager.entries["net#port"] = "80";
    EXPECT_EQ(GetConfigValue(&manager, "net", "host", -7), -7);
    EXPECT_EQ(GetConfigValue(&manager, "file", "port", -7L), -7L);
    EXPECT_EQ(GetConfigValue(&manager, "net", "host", "a\r\nb"), "a\r\nb");
    EXPECT_EQ(manager.entries.size(), 1u);
}

// KEPT[config-number]
TEST(GetConfigValue, GivesZeroAndNotTheDefaultForWhatIsNoNumber)
{
    CKConfigManager manager;
    for (const char* const value : {"", "many", "-", "\t", "0x10"})
    {
        manager.entries["a#b"] = value;
        EXPECT_EQ(GetConfigValue(&manager, "a", "b", 5), 0) << value;
        EXPECT_EQ(GetConfigValue(&manager, "a", "b", 5L), 0L) << value;
    }
}

// KEPT[config-number]
TEST(GetConfigValue, ReadsTheNumberThatAValueBeginsWith)
{
    CKConfigManager manager;
    manager.entries["a#b"] = " -80 percent";
    EXPECT_EQ(GetConfigValue(&manager, "a", "b", 5), -80);
    EXPECT_EQ(GetConfigValue(&manager, "a", "b", 5L), -80L);
}

// KEPT[config-one-line]
TEST(GetConfigValue, GivesTextWithoutCarriageReturnsLineFeedsAndTabs)
{
    CKConfigManager manager;
    manager.entries["a#b"] = " one\ttwo\r\nthree \r";
    EXPECT_EQ(GetConfigValue(&manager, "a", "b", ""), " onetwothree ");
    EXPECT_EQ(manager.entries["a#b"], " one\ttwo\r\nthree \r");
}

TEST(GetConfigValue, FindsKeysOutsideAnySectionUnderTheirOwnName)
{
    CKConfigManager manager;
    manager.entries["_default_#a"] = "1";
    EXPECT_EQ(GetConfigValue(&manager, "_default_", "a", 0), 1);
    EXPECT_EQ(GetConfigValue(&manager, "", "a", 0), 0);
}

TEST(GetConfigValue, TakesNullForAnEmptyText)
{
    CKConfigManager manager;
    EXPECT_EQ(GetConfigValue(&manager, nullptr, nullptr, 3), 3);
    manager.entries["#"] = "4";
    EXPECT_EQ(GetConfigValue(&manager, nullptr, nullptr, 3), 4);
    EXPECT_EQ(GetConfigValue(&manager, nullptr, nullptr, 3L), 4L);
    EXPECT_EQ(GetConfigValue(&manager, nullptr, nullptr, ""), "4");
}

TEST(SetConfigValue, StoresNumbersInDecimal)
{
    CKConfigManager manager;
    EXPECT_TRUE(SetConfigValue(&manager, "a", "i", INT_MIN));
    EXPECT_TRUE(SetConfigValue(&manager, "a", "l", 80L));
    EXPECT_EQ(manager.entries["a#i"], "-2147483648");
    EXPECT_EQ(manager.entries["a#l"], "80");
    EXPECT_EQ(GetConfigValue(&manager, "a", "i", 0), INT_MIN);
    EXPECT_TRUE(SetConfigValue(&manager, "a", "l", LONG_MIN));
    EXPECT_EQ(GetConfigValue(&manager, "a", "l", 0L), LONG_MIN);
}

// KEPT[config-lower-case]
TEST(SetConfigValue, LowersNamesAndKeepsTheCaseOfValues)
{
    CKConfigManager manager;
    EXPECT_TRUE(SetConfigValue(&manager, "Net \xC3\x84", "HOST", "Example.ORG  "));
    ASSERT_EQ(manager.entries.size(), 1u);
    EXPECT_EQ(manager.entries.begin()->first, "net \xC3\x84#host");
    EXPECT_EQ(manager.entries.begin()->second, "Example.ORG  ");
}

TEST(SetConfigValue, ReplacesWhatWasThere)
{
    CKConfigManager manager;
    EXPECT_TRUE(SetConfigValue(&manager, "net", "port", 1));
    EXPECT_TRUE(SetConfigValue(&manager, "NET", "Port", "two"));
    ASSERT_EQ(manager.entries.size(), 1u);
    EXPECT_EQ(manager.entries["net#port"], "two");
}

TEST(SetConfigValue, MayTakeItsArgumentsFromTheEntryThatItReplaces)
{
    CKConfigManager manager;
    manager.entries["a value too long to lie in the string#k"] = "a value too long to lie in the string";
    const char* const own = manager.entries.begin()->second.c_str();
    EXPECT_TRUE(SetConfigValue(&manager, own, "k", own + 2));
    ASSERT_EQ(manager.entries.size(), 1u);
    EXPECT_EQ(manager.entries.begin()->second, "value too long to lie in the string");
}

TEST(SetConfigValue, TakesNullForAnEmptyText)
{
    CKConfigManager manager;
    EXPECT_TRUE(SetConfigValue(&manager, nullptr, nullptr, static_cast<const char*>(nullptr)));
    ASSERT_EQ(manager.entries.size(), 1u);
    EXPECT_EQ(manager.entries["#"], "");
}
