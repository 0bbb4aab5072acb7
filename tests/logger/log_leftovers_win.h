#pragma once
/// The lines that lie in a log and its rotated files, after whatever happened to the program that wrote them.

#include "KFramework/filesystem.h"
#include "tests/logger/logger_fixture_win.h"

#include <filesystem>
#include <functional>
#include <map>
#include <set>

namespace kf::test
{
struct log_leftovers
{
    std::map<int, int> found;      ///< line number to how often it was found
    std::set<int> current;         ///< those of them in the log itself
    std::set<std::string> rotated; ///< names of the rotated files, those ignored too
    int ignored = 0;               ///< compressed files beside their plain ones
    int packed = 0;                ///< compressed files alone: each must be whole
};

/// Reads a log and all that was moved aside from it. Every line must be whole and its message the one expected for
/// its number; a compressed file beside its plain one is ignored, one without it must be whole.
///
/// @param file      the log's name.
/// @param expected  the message of a line by its number, which follows "line " in it.
[[nodiscard]] inline log_leftovers read_leftovers(const temporary_folder& folder, const std::string& file,
                                                  const std::function<std::string(int)>& expected)
{
    log_leftovers leftovers;
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.insert(utf8_text(entry.path().filename()));
    for (const std::string& name : names)
    {
        const bool packed = name.ends_with("." + file + ".gz");
        if (!packed && name != file && !name.ends_with("." + file))
            continue; // another log's
        if (name != file)
            leftovers.rotated.insert(name);
        if (packed && names.contains(name.substr(0, name.size() - 3)))
        {
            ++leftovers.ignored;
            continue;
        }
        std::string content;
        if (packed)
        {
            ++leftovers.packed;
            EXPECT_TRUE(KFramework::KFileSystem::UncompressFileToText(folder.text(name).c_str(), content))
                << name << " has no plain file beside it and is not whole";
        }
        else
            content = folder.read(name);

        SCOPED_TRACE(name);
        for (const std::string& message : messages_of(content))
        {
            int line = -1;
            EXPECT_EQ(std::sscanf(message.c_str(), "line %d", &line), 1) << message;
            EXPECT_EQ(message, expected(line));
            ++leftovers.found[line];
            if (name == file)
                leftovers.current.insert(line);
        }
    }
    return leftovers;
}
} // namespace kf::test
