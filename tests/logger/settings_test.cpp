#include "KFramework/logger.h"

#include <gtest/gtest.h>

namespace
{
using namespace KFramework::KLogger;

TEST(CKLoggerInstance, StartsEmptyAndZero)
{
    const CKLoggerInstance logger;
    EXPECT_EQ(logger.level, 0);
    EXPECT_EQ(logger.outputFlags, 0);
    EXPECT_FALSE(logger.rotationCompress);
    EXPECT_EQ(logger.fileHandle, nullptr);
    EXPECT_EQ(logger.fileName + logger.basePath + logger.identifier, "");
    EXPECT_EQ(logger.rotationMode, 0);
    EXPECT_EQ(logger.logStartTime.tm_year, 0);
    EXPECT_FALSE(logger.detached);
    EXPECT_FALSE(logger.stopRequested);
    EXPECT_EQ(logger.rotationCallback, nullptr);
    EXPECT_TRUE(logger.pendingLines.empty());
}

TEST(Setters, StoreWhatTheyAreGiven)
{
    CKLoggerInstance logger;
    int callback = 0;
    SetLoggerFile(&logger, "\xC3\xA4.log");
    SetLoggerBasePath(&logger, "C:\\logs");
    SetLoggerRotation(&logger, 99);
    SetLoggerRotationCompress(&logger, true);
    SetLoggerRotationCallback(&logger, &callback);
    EXPECT_EQ(logger.fileName, "\xC3\xA4.log");
    EXPECT_EQ(logger.basePath, "C:\\logs");
    EXPECT_EQ(logger.rotationMode, 99);
    EXPECT_TRUE(logger.rotationCompress);
    EXPECT_EQ(logger.rotationCallback, &callback);
    SetLoggerRotationCallback(&logger, nullptr);
    EXPECT_EQ(logger.rotationCallback, nullptr);
}
} // namespace
