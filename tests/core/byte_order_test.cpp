#include <array>
#include <cstdint>

#include <gtest/gtest.h>

#include "KFramework/core.h"

TEST(Swap2Bytes, ReversesTwoBytesInPlaceAndNoMore)
{
    std::array<std::uint8_t, 3> bytes{1, 2, 3};
    KFramework::Swap2Bytes(bytes.data());
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 3>{2, 1, 3}));
}

TEST(Swap4Bytes, ReversesFourBytesInPlaceAndNoMore)
{
    std::array<std::uint8_t, 5> bytes{1, 2, 3, 4, 5};
    KFramework::Swap4Bytes(bytes.data());
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 5>{4, 3, 2, 1, 5}));
}

TEST(Swap8Bytes, ReversesEightBytesAtAnUnalignedAddressAndNoMore)
{
    std::array<std::uint8_t, 10> bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    KFramework::Swap8Bytes(bytes.data() + 1);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 10>{0, 8, 7, 6, 5, 4, 3, 2, 1, 9}));
}
