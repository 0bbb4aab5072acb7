#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/services.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/left_behind_win.h"

using namespace KFramework::KServices;
using kf::test::deep_on_stack;
using kf::test::freed_memory;
using kf::test::left_on_stack;

namespace
{
constexpr std::size_t kDigitsAt = 12; // behind "pbkdf2$1000$"
constexpr std::size_t kDigits = 128;
constexpr std::size_t kSaltField = 5; // "$salt"

std::string bytes_of(const std::string& digits)
{
    std::string bytes;
    bytes.reserve(kDigits); // never short, so never on the stack
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    return bytes;
}

[[gnu::noinline]] void leave_copy(const std::string& bytes)
{
    [[maybe_unused]] volatile char copy[32];
    std::copy(bytes.begin(), bytes.end(), copy);
}
/// Counts the blocks of the C runtime that the library takes and gives back while it lives; what the C++ runtime does
/// for it is not seen. One at a time.
class held_blocks
{
public:
    held_blocks() { taken_ = held_ = 0; }
    [[nodiscard]] int taken() const { return taken_; }
    [[nodiscard]] int held() const { return held_; }

private:
    static void* take(std::size_t size)
    {
        ++taken_;
        ++held_;
        return std::malloc(size);
    }
    static void give_back(void* block)
    {
        held_ -= block != nullptr ? 1 : 0;
        std::free(block);
    }
    static inline std::atomic<int> taken_, held_;
    kf::test::import_hook<void*(std::size_t)> taking_{"malloc", &take};
    kf::test::import_hook<void(void*)> giving_{"free", &give_back};
};
} // namespace

TEST(GenerateRandomSalt, DrawsFromTheRuntimeThatTheHostSeeds)
{
    std::srand(1); // 41, 18467, 6334, 26500 ...
    EXPECT_EQ(GenerateRandomSalt().substr(0, 8), "2923be84");
}

TEST(GeneratePBKDF2Key, LeavesNoDerivedBytesOnTheStack)
{
    const std::string password = "password", salt = "salt";
    for (const int rounds : {1, 1000})
    {
        const std::string* made = nullptr;
        // Nothing comes behind the call, not even a destructor: it could overwrite what the call left.
        deep_on_stack([&] { made = new std::string(GeneratePBKDF2Key(password, salt, rounds)); });
        const std::unique_ptr<const std::string> key(made);
        const std::size_t digits_at = key->size() - kDigits - kSaltField;
        const std::string bytes = bytes_of(key->substr(digits_at, kDigits)).substr(0, 32);
        EXPECT_FALSE(left_on_stack(bytes)) << rounds;
        deep_on_stack([&] { leave_copy(bytes); });
        EXPECT_TRUE(left_on_stack(bytes)) << "nothing would have been seen";
    }
}

TEST(VerifyPBKDF2Key, KeepsNothingForThreadsThatHaveEnded)
{
    const std::string key = GeneratePBKDF2Key("password", "salt", 1);
    const held_blocks watch;
    for (int i = 0; i < 5; ++i)
        std::thread([&key] { EXPECT_TRUE(VerifyPBKDF2Key(key, "password")); }).join();
    EXPECT_GT(watch.taken(), 0);
    EXPECT_EQ(watch.held(), 0);
}

TEST(VerifyPBKDF2Key, FreesNoMemoryThatHoldsTheKeyOrAPasswordInClearText)
{
    const std::string key = GeneratePBKDF2Key("password", "salt", 1000);
    const std::string digits = key.substr(kDigitsAt, kDigits);
    {
        const freed_memory watch(digits);
        EXPECT_TRUE(VerifyPBKDF2Key(key, "password"));
        EXPECT_GT(watch.blocks(), 2);
        EXPECT_EQ(watch.count(), 0);
    }
    const std::string stored = "wrong in the end"; // clear text, too long for a string without a block
    const freed_memory watch(stored);
    EXPECT_TRUE(VerifyPBKDF2Key(stored, stored));
    EXPECT_FALSE(VerifyPBKDF2Key(stored, "password"));
    EXPECT_GE(watch.blocks(), 2);
    EXPECT_EQ(watch.count(), 0);
}
