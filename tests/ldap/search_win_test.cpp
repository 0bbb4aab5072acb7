#include "tests/ldap/client_calls_win.h" // before any header that includes <windows.h>

#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/ldap.h"
#include "tests/support/call_fault_win.h"

using namespace KFramework::KLDAP;
using kf::ldap::test::client_answers;
using kf::ldap::test::client_calls;
using kf::ldap::test::directory_attribute;
using kf::ldap::test::directory_entry;
using attributes = std::map<std::string, std::string>;
using calls = std::vector<std::string>;
using many = std::vector<std::wstring>;

namespace
{
constexpr unsigned int kUntouched = 4711;
constexpr char kSearch[] = "search dc=farm (uid=*) for";

client_answers entries(std::vector<directory_entry> list)
{
    client_answers answers;
    answers.entries = std::move(list);
    return answers;
}

struct outcome
{
    bool good;
    unsigned int error;
    std::vector<attributes> objects;
    bool operator==(const outcome&) const = default;
};

void PrintTo(const outcome& found, std::ostream* stream)
{
    *stream << (found.good ? "good" : "bad") << ", error " << found.error << ", "
            << testing::PrintToString(found.objects);
}

/// Searches with the given client, and checks that it gets back what it gives.
outcome found_with(const client_answers& answers)
{
    const client_calls client(answers);
    std::list<KldapObject*> list;
    outcome found{false, kUntouched, {}};
    found.good = search(client_calls::session(), "dc=farm", "(uid=*)", nullptr, &list, &found.error);
    for (KldapObject* object : list)
    {
        found.objects.push_back(object->attributes);
        delete object;
    }
    EXPECT_EQ(client_calls::imbalance(), "");
    return found;
}

outcome good(std::vector<attributes> objects)
{
    return {true, kUntouched, std::move(objects)};
}
} // namespace

TEST(search, AsksForTheSubtreeWithTheSetsNamesInItsOrder)
{
    const client_calls client;
    std::set<std::string> names = {"sn", "cn", "\xC3\xA4"};
    unsigned int error = kUntouched;
    EXPECT_TRUE(
        search(client_calls::session(), "dc=f\xC3\xA4rm", "(cn=\xE2\x82\xAC)", &names, nullptr, &error));
    EXPECT_EQ(client_calls::journal(), calls({"search dc=f\xC3\xA4rm (cn=\xE2\x82\xAC) for cn sn \xC3\xA4"}));
    EXPECT_EQ(error, kUntouched);
    EXPECT_EQ(names.size(), 3u);
}

TEST(search, PassesAnEmptyListForAnEmptySetAndForNone)
{
    std::set<std::string> none;
    for (std::set<std::string>* names : {&none, static_cast<std::set<std::string>*>(nullptr)})
    {
        const client_calls client;
        EXPECT_TRUE(search(client_calls::session(), "dc=farm", "(uid=*)", names, nullptr, nullptr));
        EXPECT_EQ(client_calls::journal(), calls({kSearch}));
    }
}

// KEPT[ldap-joined-values]
TEST(search, JoinsTheValuesInTheServersOrderWithoutEscaping)
{
    EXPECT_EQ(found_with(entries({{{"mail", many{L"a", L"b", L"c"}}, {"cn", many{L"\u00E4,\u20AC"}}},
                                  {{"mail", many{L"c", L",", L"a"}}}})),
              good({{{"mail", "a,b,c"}, {"cn", "\xC3\xA4,\xE2\x82\xAC"}}, {{"mail", "c,,,a"}}}));
}

TEST(search, GivesEmptyTextForAnAttributeWithoutValues)
{
    EXPECT_EQ(
        found_with(entries(
            {{{"null", std::nullopt}, {"none", many{}}, {"empty", many{L""}}, {"two", many{L"", L""}}}})),
        good({{{"null", ""}, {"none", ""}, {"empty", ""}, {"two", ","}}}));
}

// KEPT[ldap-first-name]
TEST(search, KeepsTheFirstOfTwoAttributesOfOneName)
{
    EXPECT_EQ(
        found_with(entries({{{"cn", many{L"first"}}, {"cn", many{L"second"}}, {"CN", many{L"other"}}}})),
        good({{{"cn", "first"}, {"CN", "other"}}}));
}

// KEPT[ldap-bare-entry]
TEST(search, AddsNoObjectForAnEntryWithoutAttributes)
{
    EXPECT_EQ(found_with(entries({{}, {{"cn", many{L"a"}}}, {}})), good({{{"cn", "a"}}}));
    EXPECT_EQ(found_with(entries({{}})), good({}));
    EXPECT_EQ(found_with(entries({})), good({}));
}

TEST(search, AppendsToTheListAndKeepsNothingWithoutOne)
{
    const client_calls client(entries({{{"cn", many{L"a"}}}, {{"cn", many{L"b"}}}}));
    EXPECT_TRUE(search(client_calls::session(), "dc=farm", "(uid=*)", nullptr, nullptr, nullptr));
    KldapObject own{{{"cn", "own"}}};
    std::list<KldapObject*> list = {&own};
    EXPECT_TRUE(search(client_calls::session(), "dc=farm", "(uid=*)", nullptr, &list, nullptr));
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list.front(), &own);
    list.pop_front();
    EXPECT_EQ(list.front()->attributes, attributes({{"cn", "a"}}));
    EXPECT_EQ(list.back()->attributes, attributes({{"cn", "b"}}));
    for (KldapObject* object : list)
        delete object;
    EXPECT_EQ(client_calls::imbalance(), "");
    EXPECT_GT(client_calls::given(), 10);
}

// KEPT[ldap-entry-error]
TEST(search, EndsAtAnEntryThatTheClientCannotGiveAndIsTrueAllTheSame)
{
    const std::vector<attributes> all = {{{"cn", "a"}}, {{"cn", "b"}}, {{"cn", "c"}}};
    for (int missing = 0; missing < 3; ++missing)
    {
        client_answers answers = entries({{{"cn", many{L"a"}}}, {{"cn", many{L"b"}}}, {{"cn", many{L"c"}}}});
        answers.missing_entry = missing;
        EXPECT_EQ(found_with(answers),
                  (outcome{true, LDAP_DECODING_ERROR, {all.begin(), all.begin() + missing}}));
        EXPECT_EQ(client_calls::journal(), calls({kSearch, "ask for the last error"}));
    }
}

TEST(search, FailsWithTheResultAndFreesAPartialAnswer)
{
    for (const bool with_answer : {false, true})
    {
        client_answers answers = entries({{{"cn", many{L"a"}}}});
        answers.failing = kSearch;
        answers.code = LDAP_SIZELIMIT_EXCEEDED;
        answers.fails_with_answer = with_answer;
        EXPECT_EQ(found_with(answers), (outcome{false, 4, {}}));
        EXPECT_EQ(client_calls::given(), with_answer ? 1 : 0);
        const client_calls client(answers);
        EXPECT_FALSE(search(client_calls::session(), "dc=farm", "(uid=*)", nullptr, nullptr, nullptr));
    }
}

TEST(search, TakesAGoodResultWithoutAnAnswerForAnEmptyOne)
{
    client_answers answers = entries({{{"cn", many{L"a"}}}});
    answers.gives_no_answer = true;
    EXPECT_EQ(found_with(answers), good({}));
}

TEST(search, AsksNobodyWhenATextCannotBeConverted)
{
    const client_calls client;
    kf::test::call_fault<"MultiByteToWideChar", int WINAPI(UINT, DWORD, const char*, int, wchar_t*, int)>
        conversion(0, ERROR_NOT_ENOUGH_MEMORY);
    std::set<std::string> names = {"cn"};
    const int conversions = kf::test::fail_each_call(
        conversion, kf::test::fault_span::single,
        [&]
        {
            unsigned int error = kUntouched;
            const bool asked = search(client_calls::session(), "dc=farm", "(uid=*)", &names, nullptr, &error);
            EXPECT_EQ(asked, !conversion.happened());
            EXPECT_EQ(error, conversion.happened() ? 83u : kUntouched);
        });
    EXPECT_EQ(conversions, 6);
    EXPECT_EQ(client_calls::journal(), calls({std::string(kSearch) + " cn"}));
}

TEST(search, PassesNullTextsAsTheyAre)
{
    const client_calls client;
    EXPECT_TRUE(search(client_calls::session(), nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(client_calls::journal(), calls({"search (null) (null) for"}));
}
