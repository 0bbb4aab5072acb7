#include <climits>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/ldap.h"

using KFramework::KLDAP::errorLookup;

namespace
{
const std::map<int, std::string> kTexts = {
    {0, "Successful request."},
    {1, "Initialization of LDAP library failed."},
    {2, "Protocol error occurred."},
    {3, "Time limit has exceeded."},
    {4, "Size limit has exceeded."},
    {5, "Compare yielded FALSE."},
    {6, "Compare yielded TRUE."},
    {7, "The authentication method is not supported."},
    {8, "Strong authentication is required."},
    {9, "LDAP version 2 referral."},
    {10, "Referral occurred."},
    {11, "Administration limit on the server has exceeded."},
    {12, "Critical extension is unavailable."},
    {13, "Confidentiality is required."},
    {14, "Intermediary bind result for multi-stage binds"},
    {16, "Requested attribute does not exist."},
    {17, "The type is not defined."},
    {18, "An inappropriate matching occurred."},
    {19, "A constraint violation occurred."},
    {20, "The attribute exists or the value has been assigned."},
    {21, "The syntax is invalid."},
    {32, "Object does not exist."},
    {33, "The alias is invalid."},
    {34, "The distinguished name has an invalid syntax."},
    {35, "The object is a leaf."},
    {36, "Cannot de-reference the alias."},
    {48, "Authentication is inappropriate."},
    {49, "The supplied credential is invalid."},
    {50, "The user has insufficient access rights."},
    {51, "The server is busy."},
    {52, "The server is unavailable."},
    {53, "The server does not handle directory requests."},
    {54, "The chain of referrals has looped back to a referring server."},
    {64, "There was a naming violation."},
    {65, "There was an object class violation."},
    {66, "Operation is not allowed on a non-leaf object."},
    {67, "Operation is not allowed on RDN."},
    {68, "The object already exists."},
    {69, "Cannot modify object class."},
    {70, "Results returned are too large."},
    {71, "Multiple directory service agents are affected."},
    {80, " Unknown error occurred."},
    {81, "Cannot contact the LDAP server."},
    {82, "Local error occurred."},
    {83, "Encoding error occurred."},
    {84, "Decoding error occurred."},
    {85, "The search was timed out."},
    {86, " Unknown authentication error occurred."},
    {87, "The search filter is incorrect."},
    {88, "The user has canceled the operation."},
    {89, "An incorrect parameter was passed to a routine."},
    {90, "The system is out of memory."},
    {91, "Cannot establish a connection to the server."},
    {92, "The feature is not supported."},
    {93, "The ldap function did not find the specified control."},
    {94, "The feature is not supported."},
    {95, "Additional results are to be returned."},
    {96, "Client loop was detected."},
    {97, "The referral limit was exceeded."},
};
} // namespace

// KEPT[ldap-error-texts]
TEST(errorLookup, GivesTheStatedTextForEveryCode)
{
    ASSERT_EQ(kTexts.size(), 59u);
    for (const auto& [code, text] : kTexts)
        EXPECT_EQ(errorLookup(code), text) << code;
    EXPECT_EQ(errorLookup(80)[0], ' ');
    EXPECT_EQ(errorLookup(86)[0], ' ');
    EXPECT_STREQ(errorLookup(92), errorLookup(94));
}

TEST(errorLookup, CallsEveryOtherCodeUndefined)
{
    for (const int code : {INT_MIN, -1, 15, 22, 31, 37, 47, 55, 63, 72, 79, 98, 100, 112, INT_MAX})
        EXPECT_STREQ(errorLookup(code), "Undefined error.") << code;
    for (int code = -300; code < 300; ++code)
        EXPECT_EQ(errorLookup(code) == std::string("Undefined error."), kTexts.count(code) == 0) << code;
}

TEST(errorLookup, GivesTextsThatStay)
{
    EXPECT_EQ(errorLookup(49), errorLookup(49));
}
