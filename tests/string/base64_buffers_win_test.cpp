#include <cstdlib>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"
#include "tests/support/import_hook_win.h"

namespace
{
using namespace KFramework;

std::size_t watched_size = 0; ///< of one allocation only: the runtime must never be refused
bool refusing = false;
int watched_calls = 0;
std::multiset<void*> given;

void* watched_malloc(std::size_t size)
{
    if (size != watched_size)
        return std::malloc(size);
    ++watched_calls;
    void* const memory = refusing ? nullptr : std::malloc(size);
    if (memory != nullptr)
        given.insert(memory);
    return memory;
}

void watched_free(void* memory)
{
    given.erase(memory);
    std::free(memory);
}

/// Watches the allocations of one size inside the library.
class allocation_watch
{
public:
    allocation_watch(std::size_t size, bool refuse)
    {
        watched_size = size;
        refusing = refuse;
        watched_calls = 0;
        given.clear();
    }
    ~allocation_watch() { watched_size = 0; }
    allocation_watch(const allocation_watch&) = delete;
    allocation_watch& operator=(const allocation_watch&) = delete;

private:
    kf::test::import_hook<decltype(watched_malloc)> malloc_{"malloc", &watched_malloc};
    kf::test::import_hook<decltype(watched_free)> free_{"free", &watched_free};
};

const std::string kBytes(3'000, 'b');
const std::string kText = [] // "YmJi" for every three of them
{
    std::string text;
    for (int i = 0; i < 1'000; ++i)
        text += "YmJi";
    return text;
}();
} // namespace

TEST(EncodeAlloc, AllocatesFourForEachThreeBytesAndTwoMore)
{
    for (const auto& [bytes, size] :
         {std::pair{3'000, 4'002}, std::pair{2'999, 4'002}, std::pair{2'998, 4'002}, std::pair{2'997, 3'998}})
    {
        const allocation_watch watch(static_cast<std::size_t>(size), false);
        char* text = nullptr;
        EXPECT_EQ(KBase64::EncodeAlloc(kBytes.data(), static_cast<unsigned long long>(bytes), &text),
                  static_cast<unsigned long long>(size - 1));
        EXPECT_EQ(watched_calls, 1) << bytes;
        KBase64::DeleteBuffer(&text);
        EXPECT_TRUE(given.empty());
    }
}

TEST(EncodeAlloc, GivesNullAndNothingWhenMemoryIsExhausted)
{
    const allocation_watch watch(4'002, true);
    char nothing = 0;
    char* text = &nothing;
    EXPECT_EQ(KBase64::EncodeAlloc(kBytes.data(), kBytes.size(), &text), 0u);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(watched_calls, 1);
}

// KEPT[base64-no-memory-true]
TEST(DecodeAlloc, IsTrueWithNullWhenMemoryIsExhausted)
{
    const allocation_watch watch(3'003, true);
    char nothing = 0;
    char* bytes = &nothing;
    unsigned long long size = 99;
    EXPECT_TRUE(KBase64::DecodeAlloc(kText.data(), kText.size(), &bytes, &size));
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
    bytes = &nothing;
    EXPECT_TRUE(KBase64::DecodeAlloc(kText.data(), kText.size(), &bytes, nullptr));
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(watched_calls, 2);
}

TEST(DecodeAlloc, FreesItsBufferForADamagedText)
{
    std::string text = kText;
    text.back() = '*';
    const allocation_watch watch(3'003, false);
    char* bytes = nullptr;
    EXPECT_FALSE(KBase64::DecodeAlloc(text.data(), text.size(), &bytes, nullptr));
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(watched_calls, 1);
    EXPECT_TRUE(given.empty()) << "never freed";
}

TEST(ToBase64, IsEmptyWhenMemoryIsExhausted)
{
    const allocation_watch watch(4'002, true);
    EXPECT_EQ(KStringHelper::ToBase64(kBytes), "");
    EXPECT_EQ(watched_calls, 1);
}

TEST(FromBase64, IsEmptyWhenMemoryIsExhausted)
{
    const allocation_watch watch(3'003, true);
    EXPECT_EQ(KStringHelper::FromBase64(kText), "");
    EXPECT_EQ(watched_calls, 1);
}

TEST(ToBase64, ReleasesItsBufferAndSoDoesFromBase64)
{
    {
        const allocation_watch watch(4'002, false);
        EXPECT_EQ(KStringHelper::ToBase64(kBytes), kText);
        EXPECT_EQ(watched_calls, 1);
        EXPECT_TRUE(given.empty());
    }
    const allocation_watch watch(3'003, false);
    EXPECT_EQ(KStringHelper::FromBase64(kText), kBytes);
    EXPECT_EQ(watched_calls, 1);
    EXPECT_TRUE(given.empty());
}
