#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kf::config
{
/// Puts many entries into a text in one pass over both, with the result of replace_key for one after the other.
///
/// Each section's lines are walked once and looked up among its entries; what changes is collected, and the new text
/// is written at the end. It leaves to replace_key, by stopping before it, whatever divides the text anew: names and
/// values that hold what lines are cut at, and a first edit behind a header that has no line ending yet.
class merge_pass
{
public:
    using entries = std::map<std::string, std::string>;
    using entry = entries::value_type;
    using position = entries::const_iterator;

    /// Whether an entry changes nothing but lines of its own.
    [[nodiscard]] static bool can_take(const entry& candidate);

    /// @param text  stays as it is until finish; not changed by anyone else meanwhile.
    explicit merge_pass(std::string& text);

    /// @param first  an entry that can be taken; the entries stay as they are until finish.
    /// @return  the first entry that is left.
    [[nodiscard]] position take(position first, position last);

    /// Writes the text.
    void finish();

private:
    /// Where the lines of a section are, as find_section gives them.
    struct place
    {
        std::size_t begin;
        std::size_t end;
    };

    /// One entry of the section at hand. Sorted by their keys, as the entries are.
    struct setting
    {
        std::string_view key;
        std::string_view value;
        bool found = false;
    };

    /// A part of the text and what takes its place: a setting's line or, when it has no key, text.
    struct change
    {
        std::size_t start;
        std::size_t length;
        std::string_view key;
        std::string_view value;
        std::string text;
    };

    void index_sections();
    std::size_t edit_section(const place& lines);
    std::size_t append_section(std::string_view section);
    void find_lines(std::string_view lines, std::size_t offset);
    std::size_t edit_last_line(std::size_t start, const place& lines);
    setting* find_setting(std::string_view name);
    [[nodiscard]] std::string line_of(const setting& one) const;

    std::string& text_;
    std::unordered_map<std::string, place> sections_;
    std::vector<setting> settings_; ///< of the section at hand
    std::size_t expected_ = 0;      ///< the setting whose line comes next if the section is sorted
    std::string folded_;            ///< a name that is looked up
    std::vector<change> changes_;
    std::string appended_;
    bool ends_in_open_header_ = false; ///< which becomes a header as soon as a line ending follows
};
} // namespace kf::config
