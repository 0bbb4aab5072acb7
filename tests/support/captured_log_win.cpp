#include "tests/support/captured_log_win.h"

#include "KFramework/core.h"

#include <algorithm>
#include <sstream>

namespace kf::test
{

namespace
{

constexpr char kFile[] = "captured.log";
constexpr int kEveryLevel = 4;
constexpr int kToFile = 4;
constexpr std::size_t kTagAt = sizeof "MM/DD/YYYY HH:MM:SS - [" - 1;

} // namespace

captured_log::captured_log() : before_(KFramework::GetDefaultLogger())
{
    KFramework::KLogger::SetLoggerBasePath(&logger_, folder_.text());
    KFramework::KLogger::SetLoggerFile(&logger_, kFile);
    KFramework::KLogger::CreateLogger(&logger_, kEveryLevel, kToFile);
    KFramework::SetDefaultLogger(&logger_);
}

captured_log::~captured_log()
{
    KFramework::SetDefaultLogger(before_);
    KFramework::KLogger::DestroyLogger(&logger_);
}

std::vector<std::string> captured_log::lines() const
{
    std::istringstream file(folder_.read(kFile));
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);)
    {
        line.erase(line.find_last_not_of('\r') + 1);
        line.erase(0, std::min(kTagAt, line.size()));
        if (const std::size_t end = line.find(']'); end != std::string::npos)
            line.erase(end, 1);
        all.push_back(line);
    }
    return all;
}

std::size_t captured_log::count(const std::string& text) const
{
    const std::vector<std::string> all = lines();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(),
                                                  [&text](const std::string& line)
                                                  { return line.find(text) != std::string::npos; }));
}

} // namespace kf::test
