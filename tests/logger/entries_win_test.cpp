#include "tests/logger/logger_fixture_win.h"

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

class AddLogEntryTest : public LoggerTest
{
};

TEST_F(AddLogEntryTest, WritesWhatItsLevelAllows)
{
    create(kInfo, kFile);
    AddLogEntry(&logger, kExtended, "Test", "unseen");
    EXPECT_EQ(log(), "");
    AddLogEntry(&logger, kInfo, "Test", "seen %d", 7);
    AddLogEntry(&logger, 0, "Test", "zero");
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"seen 7", "zero"}));
}
} // namespace
