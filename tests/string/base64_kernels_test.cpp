/// Every kernel against the plain rules, and its reading and writing at the very ends of exact buffers. On
/// Windows this is a program of its own with the kernels compiled into it, without optimisation.

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "KFramework/string/base64.h"
#include "tests/string/base64_reference.h"

namespace
{
using namespace kf::string;
using kf::test::kBase64Letters;
using kf::test::reference_base64;
using kf::test::reference_unbase64;

constexpr char kUntouched = '\x5A';
constexpr std::size_t kGuard = 64; ///< bytes behind a buffer where no sanitizer watches

std::string random_bytes(std::mt19937& random, std::size_t size)
{
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    return bytes;
}

std::string random_text(std::mt19937& random, std::size_t size)
{
    std::string text(size, '\0');
    for (char& c : text)
        c = kBase64Letters[random() % 64];
    return text;
}

/// A block of its own that holds some bytes at its very end, so that a sanitizer sees one byte too many.
class exact_copy
{
public:
    exact_copy(std::string_view bytes, std::size_t shift)
        : block_(new char[bytes.size() + shift]), shift_(shift)
    {
        bytes.copy(block_.get() + shift, bytes.size());
    }

    const char* data() const { return block_.get() + shift_; }

private:
    std::unique_ptr<char[]> block_;
    std::size_t shift_;
};

/// The kernels by their place in the list.
class Base64Kernel : public testing::TestWithParam<std::size_t>
{
protected:
    void SetUp() override
    {
        if (!kernel().available())
            GTEST_SKIP() << "this processor has no " << kernel().name;
    }

    static const base64_kernel& kernel() { return base64_kernels()[GetParam()]; }

    /// Everything the kernel leaves in a buffer of this size, and whatever it writes behind it.
    static std::string encoded(std::string_view bytes, std::size_t room, std::size_t shift = 0)
    {
        const exact_copy in(bytes, shift);
        const std::unique_ptr<char[]> out(new char[room]);
        std::memset(out.get(), kUntouched, room);
        base64_encode(kernel(), in.data(), bytes.size(), out.get(), room);
        return {out.get(), room};
    }

    /// Decodes into a buffer of this size, and compares all of it with what the rules say.
    static void expect_decoded(std::string_view text, std::size_t room, std::string_view bytes, bool whole,
                               std::size_t shift = 0)
    {
        const exact_copy in(text, shift);
        const std::unique_ptr<char[]> out(new char[room]);
        std::memset(out.get(), kUntouched, room);
        const base64_decoded decoded = base64_decode(kernel(), in.data(), text.size(), out.get(), room);
        bytes = bytes.substr(0, room);
        ASSERT_EQ(decoded.written, bytes.size()) << text;
        ASSERT_EQ(decoded.whole, whole) << text;
        ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), out.get())) << text;
        ASSERT_TRUE(
            std::all_of(out.get() + bytes.size(), out.get() + room, [](char c) { return c == kUntouched; }))
            << "touched behind the bytes of " << text;
    }
};
} // namespace

TEST_P(Base64Kernel, EncodesEveryByteAtEveryPlaceOfEveryShortInput)
{
    std::mt19937 random(1);
    for (std::size_t size = 0; size <= 70; ++size)
    {
        std::string bytes = random_bytes(random, size);
        std::string text(size / 3 * 4 + 8, '\0');
        for (std::size_t at = 0; at < size; ++at)
            for (int byte = 0; byte < 256; ++byte)
            {
                bytes[at] = static_cast<char>(byte);
                base64_encode(kernel(), bytes.data(), size, text.data(), text.size());
                const std::string group = reference_base64(bytes.substr(at / 3 * 3, 3));
                ASSERT_EQ(text.compare(at / 3 * 4, 4, group), 0) << size << ", " << at << ", " << byte;
            }
        ASSERT_EQ(encoded(bytes, (size + 2) / 3 * 4), reference_base64(bytes)) << size;
    }
}

TEST_P(Base64Kernel, EncodesIntoEveryRoomAndFromEveryAddress)
{
    std::mt19937 random(2);
    for (std::size_t size = 0; size <= 100; ++size)
    {
        const std::string bytes = random_bytes(random, size);
        for (std::size_t room = 0; room <= size / 3 * 4 + 8; ++room)
        {
            std::string buffer = reference_base64(bytes) + '\0';
            buffer.resize(room, kUntouched);
            ASSERT_EQ(encoded(bytes, room, (size + room) % 32), buffer) << size << " bytes into " << room;
        }
    }
}

TEST_P(Base64Kernel, DecodesEveryByteAtEveryPlaceOfEveryShortText)
{
    std::mt19937 random(3);
    for (std::size_t size = 0; size <= 70; ++size)
    {
        const std::string letters = random_text(random, size);
        for (std::size_t at = 0; at < size; ++at)
        {
            std::string text = letters;
            for (int byte = 0; byte < 256; ++byte)
            {
                text[at] = static_cast<char>(byte);
                char plain[64], out[64];
                std::memset(plain, kUntouched, sizeof plain);
                std::memset(out, kUntouched, sizeof out);
                const auto should = base64_decode(base64_kernels().back(), text.data(), size, plain, 60);
                const auto is = base64_decode(kernel(), text.data(), size, out, 60);
                ASSERT_EQ(is.written, should.written) << text;
                ASSERT_EQ(is.whole, should.whole) << text;
                ASSERT_EQ(std::memcmp(out, plain, sizeof out), 0) << text;
            }
            const auto [bytes, whole] = reference_unbase64(text); // the plain rules themselves
            expect_decoded(text, 60, bytes, whole);
        }
    }
}

TEST_P(Base64Kernel, DecodesIntoEveryRoomAndFromEveryAddress)
{
    std::mt19937 random(4);
    for (std::size_t size = 0; size <= 140; ++size)
    {
        std::string text = random_text(random, size);
        for (const bool damaged : {false, true})
        {
            if (damaged && size > 0)
                text[random() % size] = "=-\n\x80"[random() % 4];
            const auto [bytes, whole] = reference_unbase64(text);
            for (std::size_t room = 0; room <= size / 4 * 3 + 4; ++room)
                expect_decoded(text, room, bytes, whole, (size + room) % 32);
        }
    }
}

TEST_P(Base64Kernel, TakesLongInputsWholeOrDamaged)
{
    std::mt19937 random(5);
    for (int round = 0; round < 600; ++round)
    {
        const std::string bytes = random_bytes(random, random() % 6'000);
        std::string text = reference_base64(bytes);
        ASSERT_EQ(encoded(bytes, text.size(), random() % 32), text);
        expect_decoded(text, bytes.size(), bytes, true, random() % 32);

        for (std::size_t damage = random() % 3; damage > 0 && !text.empty(); --damage)
            text[random() % text.size()] = static_cast<char>(random());
        text.resize(text.size() - std::min<std::size_t>(text.size(), random() % 4));
        const auto [decoded, whole] = reference_unbase64(text);
        expect_decoded(text, random() % (bytes.size() + 4), decoded, whole, random() % 32);
    }
}

TEST_P(Base64Kernel, DecodesInPlace)
{
    std::mt19937 random(6);
    for (std::size_t size = 0; size <= 400; ++size)
    {
        const std::string bytes = random_bytes(random, size);
        std::string buffer = reference_base64(bytes);
        const auto decoded =
            base64_decode(kernel(), buffer.data(), buffer.size(), buffer.data(), buffer.size());
        ASSERT_TRUE(decoded.whole);
        ASSERT_EQ(buffer.substr(0, decoded.written), bytes);
    }
}

TEST_P(Base64Kernel, TakesWholeGroupsAndNeitherReadsNorWritesMore)
{
    std::mt19937 random(7);
    const bool wide = &kernel() != &base64_kernels().back();
    for (std::size_t size = 0; size <= 200; ++size)
        for (const std::size_t room : {size / 2, size, 2 * size})
        {
            std::string out(room + kGuard, kUntouched);
            const std::string bytes = random_bytes(random, size);
            std::size_t taken = kernel().encode(exact_copy(bytes, 0).data(), size, out.data(), room);
            ASSERT_LE(taken, size);
            ASSERT_EQ(taken % 3, 0u);
            ASSERT_EQ(out.find_first_not_of(kUntouched, std::min(taken / 3 * 4, room)), std::string::npos);
            ASSERT_EQ(out.compare(0, taken / 3 * 4, reference_base64(bytes), 0, taken / 3 * 4), 0);
            ASSERT_TRUE(!wide || size < 16 || room < 16 || taken > 0) << "left everything to the plain code";

            out.assign(room + kGuard, kUntouched);
            const std::string text = random_text(random, size);
            taken = kernel().decode(exact_copy(text, 0).data(), size, out.data(), room);
            ASSERT_LE(taken, size);
            ASSERT_EQ(taken % 4, 0u);
            ASSERT_EQ(out.find_first_not_of(kUntouched, std::min(taken / 4 * 3, room)), std::string::npos);
            ASSERT_EQ(out.compare(0, taken / 4 * 3, reference_unbase64(text).bytes, 0, taken / 4 * 3), 0);
            ASSERT_TRUE(!wide || size < 16 || room < 12 || taken > 0) << "left everything to the plain code";
        }
}

INSTANTIATE_TEST_SUITE_P(All, Base64Kernel, testing::Range<std::size_t>(0, base64_kernels().size()),
                         [](const auto& which) { return std::string(base64_kernels()[which.param].name); });

TEST(base64_kernels, EndsWithOneForEveryProcessorAndChoosesTheFirstAvailable)
{
    EXPECT_TRUE(base64_kernels().back().available());
    const auto first = std::find_if(base64_kernels().begin(), base64_kernels().end(),
                                    [](const base64_kernel& kernel) { return kernel.available(); });
    EXPECT_EQ(&best_base64_kernel(), &*first);
}
