#include <cstdint>

#include <gtest/gtest.h>

#include "KFramework/core.h"

TEST(Swap4Bytes, ReversesFourBytesInPlaceAndNoMore)
{
    std::uint8_t bytes[5] = {1, 2, 3, 4, 5};
    KFramework::Swap4Bytes(bytes);
    EXPECT_EQ(bytes[0], 4);
    EXPECT_EQ(bytes[1], 3);
    EXPECT_EQ(bytes[2], 2);
    EXPECT_EQ(bytes[3], 1);
    EXPECT_EQ(bytes[4], 5);
}
