#include "tests/support/temporary_folder.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/deadline.h"

namespace kf::test
{

namespace fs = std::filesystem;

namespace
{

/// Programs of one test run share the temporary folder, so the name holds the time and a counter, and counts on
/// until it is free.
fs::path make_unique_folder(std::string_view suffix)
{
    static std::atomic<unsigned> counter{0};
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    for (;;)
    {
        const std::string name =
            "kf-" + std::to_string(now) + "-" + std::to_string(counter.fetch_add(1)) + std::string(suffix);
        const fs::path path = fs::temp_directory_path() / utf8_path(name);
        if (fs::create_directory(path))
            return path;
    }
}

bool remove_tree(const fs::path& path)
{
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(path, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error))
    {
        std::error_code ignored;
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(path, error);
    return !fs::exists(path, error);
}

} // namespace

std::string utf8_text(const fs::path& path)
{
    fs::path preferred = path;
    const std::u8string text = preferred.make_preferred().u8string();
    return {text.begin(), text.end()};
}

fs::path utf8_path(std::string_view text)
{
    return {std::u8string(text.begin(), text.end())};
}

temporary_folder::temporary_folder(std::string_view suffix) : path_(make_unique_folder(suffix)) {}

temporary_folder::~temporary_folder()
{
    // A child that is just ending may still hold a file open.
    EXPECT_TRUE(wait_until([this] { return remove_tree(path_); })) << text() << " cannot be removed";
}

std::string temporary_folder::text() const
{
    return utf8_text(path_);
}

fs::path temporary_folder::entry(std::string_view name) const
{
    return path_ / utf8_path(name);
}

std::string temporary_folder::text(std::string_view name) const
{
    return utf8_text(entry(name));
}

std::string temporary_folder::write(std::string_view name, std::string_view bytes) const
{
    std::ofstream file(entry(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    EXPECT_TRUE(file) << text(name) << " cannot be written";
    return text(name);
}

std::string temporary_folder::read(std::string_view name) const
{
    std::ifstream file(entry(name), std::ios::binary);
    EXPECT_TRUE(file) << text(name) << " cannot be read";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace kf::test
