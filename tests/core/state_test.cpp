#include <gtest/gtest.h>

#include "KFramework/core.h"

using namespace KFramework;

TEST(GetLibraryContext, GivesNullUntilAContextIsSetAndThenTheVeryPointers)
{
    const char* name = "untouched";
    void* data = &name;
    GetLibraryContext(&name, &data);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(data, nullptr);

    char own_name[] = "host";
    int own_data = 0;
    SetLibraryContext(own_name, &own_data);
    own_name[0] = 'm'; // not copied
    GetLibraryContext(&name, &data);
    EXPECT_EQ(name, own_name);
    EXPECT_STREQ(name, "most");
    EXPECT_EQ(data, &own_data);

    SetLibraryContext(nullptr, nullptr);
    GetLibraryContext(&name, &data);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(data, nullptr);
}

TEST(GetDefaultLogger, GivesWhatWasSetUntilItIsRemoved)
{
    EXPECT_EQ(GetDefaultLogger(), nullptr);
    // Never looked into: the slot only keeps the pointer.
    int stand_in = 0;
    auto* const logger = reinterpret_cast<KLogger::CKLoggerInstance*>(&stand_in);
    SetDefaultLogger(logger);
    EXPECT_EQ(GetDefaultLogger(), logger);
    RemoveDefaultLogger();
    EXPECT_EQ(GetDefaultLogger(), nullptr);
}
