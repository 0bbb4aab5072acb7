#pragma once
/// A folder of the test's own, gone with everything in it when the test ends.

#include <filesystem>
#include <string>
#include <string_view>

namespace kf::test
{

class temporary_folder
{
public:
    /// Makes an empty folder with a unique name below the system's temporary folder.
    ///
    /// @param suffix  UTF-8 text the name ends in, for tests of unusual names.
    explicit temporary_folder(std::string_view suffix = {});
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;
    ~temporary_folder();

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    /// The folder's path as UTF-8 text, with the platform's own separators and none at the end.
    [[nodiscard]] std::string text() const;

    /// The path of an entry of the folder, whether it exists or not.
    ///
    /// @param name  UTF-8, relative; either separator.
    [[nodiscard]] std::filesystem::path entry(std::string_view name) const;

    /// The same as UTF-8 text with the platform's own separators.
    [[nodiscard]] std::string text(std::string_view name) const;

    /// Writes a file into the folder, replacing it; bytes are written as they are.
    ///
    /// @return  the file's path as UTF-8 text.
    std::string write(std::string_view name, std::string_view bytes) const;

    /// The bytes of a file in the folder; fails the test and gives "" when it cannot be read.
    [[nodiscard]] std::string read(std::string_view name) const;

private:
    std::filesystem::path path_;
};

/// A path as UTF-8 text with the platform's own separators.
[[nodiscard]] std::string utf8_text(const std::filesystem::path& path);

/// A path from UTF-8 text.
[[nodiscard]] std::filesystem::path utf8_path(std::string_view text);

} // namespace kf::test
