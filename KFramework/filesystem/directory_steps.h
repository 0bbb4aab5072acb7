#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kf::filesystem
{
/// The folders that a recursive creation tries, from the outermost to the whole path.
///
///   C:\a\\b      =>  "C:", "C:\a", "C:\a\b"
///   \\host\x     =>  "\\host", "\\host\x"
///   /a\b         =>  "//a", "//a\b"
class directory_steps
{
public:
    /// @param path  must outlive this object.
    explicit directory_steps(std::string_view path);

    /// Goes on to the next folder. False when there is none left.
    bool next();

    /// The folder to try; valid until the next call of next().
    const std::string& folder() const noexcept { return folder_; }

private:
    std::string_view rest_;
    std::string folder_;
    bool started_ = false;
};
} // namespace kf::filesystem
