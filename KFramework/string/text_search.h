#pragma once

#include <string_view>
#include <vector>

namespace kf::string
{
/// Finds one text in another in linear time, whatever the two hold; the plain search takes length times
/// length for texts of many equal bytes.
class text_search
{
public:
    /// @param what  not empty; outlives the search.
    explicit text_search(std::string_view what);

    /// The first occurrence that starts at or after a position, or npos.
    std::size_t find(std::string_view text, std::size_t position) const;

private:
    std::string_view what_;
    /// For every length matched so far: the longest proper part of its end that is also a beginning of what_.
    std::vector<std::size_t> shorter_;
};
} // namespace kf::string
