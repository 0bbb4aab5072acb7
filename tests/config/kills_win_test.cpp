/// SaveConfigFile when the program is killed in the middle.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <random>

#include "tests/config/config_fixture_win.h"
#include "tests/support/child_win.h"

namespace
{
constexpr int kKills = 200;
constexpr int kKeys = 500;
constexpr std::size_t kStartedAhead = 3;        // programs that load while another one saves
constexpr std::string_view kValue = "########"; // stands for the number of a save

class SaveConfigFileKillsTest : public kf::test::config_test
{
protected:
    /// The file of a finished save, with kValue for its number.
    std::string pattern()
    {
        for (int key = 0; key < kKeys; ++key)
            manager_.entries["settings#key" + std::to_string(key)] = kValue;
        EXPECT_TRUE(save());
        return undated(read());
    }

    /// Without the date in the header, if the text is long enough to have one.
    static std::string undated(std::string text)
    {
        const std::size_t date = kHeader.find("09/03");
        std::fill(text.begin() + static_cast<std::ptrdiff_t>(std::min(date, text.size())),
                  text.begin() + static_cast<std::ptrdiff_t>(std::min(date + 16, text.size())), '-');
        return text;
    }

    static std::string numbered(std::string pattern, int number)
    {
        char value[16];
        std::snprintf(value, sizeof value, "%08d", number);
        for (std::size_t at = 0; (at = pattern.find(kValue, at)) != std::string::npos; at += kValue.size())
            pattern.replace(at, kValue.size(), value);
        return pattern;
    }

    /// A program that saves into a file of its own as soon as it may.
    class saver
    {
    public:
        saver(const kf::test::temporary_folder& folder, int number)
            : name_(std::to_string(number) + ".conf"),
              event_name_(kf::test::utf8_text(folder.path().filename()) + name_),
              begin_(::CreateEventW(nullptr, TRUE, FALSE, kf::test::utf8_path(event_name_).c_str())),
              program_("save_settings", {event_name_, folder.text(name_), std::to_string(kKeys)})
        {
        }

        /// Lets it save for a while and kills it.
        ///
        /// @return  the number of the last save that it finished.
        int save_and_kill(std::chrono::microseconds after)
        {
            ::SetEvent(begin_.get());
            program_.wait_for("1\n");
            const auto end = std::chrono::steady_clock::now() + after;
            while (std::chrono::steady_clock::now() < end)
            {
            }
            program_.kill();
            std::string said = program_.everything();
            if (!said.empty())
                said.pop_back();
            return std::atoi(said.c_str() + said.rfind('\n') + 1); // npos + 1 is 0
        }

        [[nodiscard]] const std::string& name() const { return name_; }

    private:
        std::string name_;
        std::string event_name_;
        kf::platform::unique_handle begin_;
        kf::test::child program_;
    };
};
} // namespace

TEST_F(SaveConfigFileKillsTest, LeavesTheOldTextTheNewOrABeginningOfTheNewWheneverTheProgramIsKilled)
{
    const std::string finished = pattern();
    std::mt19937 random(std::random_device{}());
    const auto start = std::chrono::steady_clock::now();
    int old_texts = 0;
    int new_texts = 0;
    int beginnings = 0;
    std::deque<saver> savers;
    for (int i = 0; i < kKills; ++i)
    {
        while (savers.size() < kStartedAhead)
            savers.emplace_back(folder_, i + static_cast<int>(savers.size()));
        const int last = savers.front().save_and_kill(std::chrono::microseconds(random() % 3000));
        const std::string left = undated(folder_.read(savers.front().name()));
        savers.pop_front();
        const std::string next = numbered(finished, last + 1);
        if (left == numbered(finished, last))
            ++old_texts;
        else if (left == next)
            ++new_texts;
        else if (next.starts_with(left))
            ++beginnings;
        else
            FAIL() << "after save " << last << ":\n" << left;
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::printf("%d kills: the old text %d times, the new %d, a beginning of the new %d (%.1f s)\n", kKills,
                old_texts, new_texts, beginnings, taken.count());
    EXPECT_EQ(old_texts + new_texts + beginnings, kKills);
}
