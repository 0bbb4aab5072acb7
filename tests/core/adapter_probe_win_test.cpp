#include <cstring>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/import_hook_win.h"

#include <iphlpapi.h>

using namespace KFramework;
using kf::test::import_hook;

namespace
{

ULONG adapters_result;
unsigned adapter_questions;
unsigned growing_answers;

/// Two adapters, the second with a longer address.
ULONG WINAPI give_two_adapters(PIP_ADAPTER_INFO info, PULONG bytes)
{
    ++adapter_questions;
    if (adapter_questions == 1)
    {
        EXPECT_EQ(*bytes, 704u);
    }
    if (adapters_result != ERROR_SUCCESS)
        return adapters_result;
    const ULONG needed =
        704 * (2 + (adapter_questions <= growing_answers ? adapter_questions : growing_answers));
    if (*bytes < needed || adapter_questions <= growing_answers)
    {
        *bytes = needed;
        return ERROR_BUFFER_OVERFLOW;
    }
    info[0] = {};
    info[1] = {};
    info[0].Next = &info[1];
    info[0].AddressLength = 6;
    info[1].AddressLength = 8;
    const unsigned char first[] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    const unsigned char second[] = {0xFF, 0xEE, 0xDD, 0x0C, 0x0B, 0x0A, 0x09, 0x08};
    std::memcpy(info[0].Address, first, sizeof first);
    std::memcpy(info[1].Address, second, sizeof second);
    return ERROR_SUCCESS;
}

class adapters : public testing::Test
{
protected:
    adapters() : hook_("GetAdaptersInfo", &give_two_adapters)
    {
        adapters_result = ERROR_SUCCESS;
        adapter_questions = 0;
        growing_answers = 0;
    }

private:
    import_hook<ULONG WINAPI(PIP_ADAPTER_INFO, PULONG)> hook_;
};

} // namespace

// KEPT[mac-groups]
TEST_F(adapters, AreJoinedByOneBarWithNoneAtTheEnd)
{
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "001a2b3c4d5e|ffeedd0c0b0a");
    EXPECT_EQ(adapter_questions, 2u);
}

// KEPT[mac-argument]
TEST_F(adapters, AreAllGivenWhateverTheArgument)
{
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(true), "001a2b3c4d5e|ffeedd0c0b0a");
    EXPECT_EQ(GetHostMacAddresses(false), "001a2b3c4d5e|ffeedd0c0b0a");
}

TEST_F(adapters, ThatAppearBetweenTwoQuestionsAreAskedForAgain)
{
    growing_answers = 3;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "001a2b3c4d5e|ffeedd0c0b0a");
    EXPECT_EQ(adapter_questions, 4u);
}

TEST_F(adapters, ThatNeverSettleAreGivenUp)
{
    growing_answers = 1000000;
    kf::test::captured_output capture(kf::test::captured_output::stream::error);
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "");
    EXPECT_LT(adapter_questions, 100u);
    EXPECT_EQ(capture.text(), "Failed to call GetAdaptersInfo()\n");
}

TEST_F(adapters, ThatCannotBeReadLeaveNoTextAndALineOnStandardError)
{
    InitializeLibrary(nullptr);
    adapters_result = ERROR_NO_DATA;
    kf::test::captured_output capture(kf::test::captured_output::stream::error);
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "");
    EXPECT_EQ(capture.text(), "Failed to call GetAdaptersInfo()\n");
}

TEST(GetHostMacAddresses, HoldsGroupsOfTwelveDigitsAndNoLineBreaks)
{
    InitializeLibrary(nullptr);
    EXPECT_TRUE(std::regex_match(GetHostMacAddresses(false), std::regex("([0-9a-f]{12}(\\|[0-9a-f]{12})*)?")))
        << GetHostMacAddresses(false);
}
