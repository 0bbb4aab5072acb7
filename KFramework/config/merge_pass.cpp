#include "KFramework/config/merge_pass.h"

#include "KFramework/config/edit.h"
#include "KFramework/config/names.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr auto kNowhere = std::string_view::npos;

bool holds(std::string_view text, char c)
{
    return text.find(c) != kNowhere;
}

bool is_lower(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// What is called that between the brackets of a header; nothing for a line that is none.
std::string_view section_of(std::string_view line)
{
    return line.substr(1, line.find(']') - 1);
}
} // namespace

namespace kf::config
{
bool merge_pass::can_take(const entry& candidate)
{
    const auto name = split_name(candidate.first);
    if (!name || name->key.empty() || name->key != name_of(name->key) || name->key.front() == '[')
        return false;
    return is_lower(candidate.first) && !holds(candidate.first, '\n') && !holds(name->section, ']') &&
           !holds(candidate.second, '\n');
}

merge_pass::merge_pass(std::string& text) : text_(text)
{
    index_sections();
    const std::string_view last = std::string_view(text_).substr(text_.rfind('\n') + 1); // npos + 1 is 0
    ends_in_open_header_ = without_leading_blanks(last).starts_with('[');
}

void merge_pass::index_sections()
{
    const std::string_view text = text_;
    std::string name;
    const std::string* current = nullptr;
    place* lines = nullptr;
    for (std::size_t start = 0, feed = 0; (feed = text.find('\n', start)) != kNowhere; start = feed + 1)
    {
        const std::string_view line = without_leading_blanks(text.substr(start, feed - start));
        if (!line.starts_with('['))
            continue;
        const bool closed = holds(line, ']');
        name.clear();
        if (closed)
            append_lower(name, section_of(line));
        if (lines != nullptr && closed && *current == name)
        {
            lines->begin = feed + 1; // the same header again
            continue;
        }
        if (lines != nullptr)
            lines->end = start - 1;
        lines = nullptr;
        if (!closed)
            continue;
        const auto [found, first] = sections_.try_emplace(name, place{feed + 1, text.size()});
        if (first)
        {
            current = &found->first;
            lines = &found->second;
        }
    }
}

merge_pass::position merge_pass::take(position first, position last)
{
    while (first != last)
    {
        const auto entry_name = split_name(first->first);
        if (!entry_name)
        {
            ++first;
            continue;
        }
        if (!can_take(*first))
            break;
        const std::string_view section = entry_name->section;
        settings_.clear();
        position end = first;
        for (; end != last && can_take(*end); ++end)
        {
            const auto name = split_name(end->first);
            if (name->section != section)
                break;
            settings_.push_back({name->key, end->second});
        }
        const auto found = sections_.find(std::string(section));
        const std::size_t taken =
            found != sections_.end() ? edit_section(found->second) : append_section(section);
        std::advance(first, taken);
        if (taken != settings_.size())
            break;
    }
    return first;
}

/// @return  how many settings are in the text then.
std::size_t merge_pass::append_section(std::string_view section)
{
    if (ends_in_open_header_)
        return 0;
    appended_.append("\n[").append(section).append("]\n\n");
    for (const setting& one : settings_)
    {
        append_setting(appended_, one.key, one.value);
        appended_ += '\n';
    }
    return settings_.size();
}

/// @return  how many settings are in the text then.
std::size_t merge_pass::edit_section(const place& lines)
{
    const std::size_t last_line = text_.rfind('\n', lines.end - 1) + 1;
    const std::size_t before = changes_.size();
    expected_ = 0;
    if (last_line > lines.begin)
        find_lines(std::string_view(text_).substr(lines.begin, last_line - lines.begin), lines.begin);
    const std::size_t taken = edit_last_line(last_line, lines);
    if (taken != settings_.size())
    {
        const auto is_left = [left = settings_[taken].key](const change& one) { return one.key >= left; };
        const auto own = changes_.begin() + static_cast<std::ptrdiff_t>(before);
        changes_.erase(std::remove_if(own, changes_.end(), is_left), changes_.end());
    }
    return taken;
}

/// Finds the settings among whole lines.
///
/// @param offset  of the lines in the text.
void merge_pass::find_lines(std::string_view lines, std::size_t offset)
{
    for (std::size_t start = 0, feed = 0; start < lines.size(); start = feed + 1)
    {
        feed = lines.find('\n', start);
        const std::string_view line = lines.substr(start, feed - start);
        setting* const found = find_setting(name_of(line));
        if (found == nullptr)
            continue;
        found->found = true;
        changes_.push_back({offset + start, line.size(), found->key, found->value, {}});
    }
}

merge_pass::setting* merge_pass::find_setting(std::string_view name)
{
    if (expected_ == settings_.size() || !same_name(name, settings_[expected_].key))
    {
        folded_.clear();
        append_lower(folded_, name);
        const auto found =
            std::lower_bound(settings_.begin(), settings_.end(), folded_,
                             [](const setting& one, std::string_view key) { return one.key < key; });
        if (found == settings_.end() || found->key != folded_)
            return nullptr;
        expected_ = static_cast<std::size_t>(found - settings_.begin());
    }
    return &settings_[expected_++];
}

/// Adds the settings that no line was found for, behind what stands before the section's end without a line feed
/// between. That is empty as a rule. If it is not, a setting in the middle of the others changes what line it is, so
/// they all are looked at in their order.
///
/// @param start  of the last line; it ends where the section does.
/// @return  how many settings are in the text then.
std::size_t merge_pass::edit_last_line(std::size_t start, const place& lines)
{
    std::string line = text_.substr(start, lines.end - start);
    std::string behind;
    const bool is_setting = !line.empty() && start >= lines.begin; // otherwise it is the header
    bool changed = false;
    std::string_view name = name_of(line);
    for (std::size_t i = 0; i < settings_.size(); ++i)
    {
        setting& one = settings_[i];
        if (is_setting && same_name(name, one.key))
        {
            line = line_of(one);
            name = name_of(line);
            one.found = changed = true;
        }
        if (one.found)
            continue;
        if (is_setting && ends_in_open_header_ && lines.end == text_.size())
            return i;
        (behind.empty() ? line : behind) += line_of(one);
        behind += '\n';
        name = name_of(line);
        changed = true;
    }
    if (changed)
        changes_.push_back({start, lines.end - start, {}, {}, line + behind});
    return settings_.size();
}

std::string merge_pass::line_of(const setting& one) const
{
    std::string line;
    append_setting(line, one.key, one.value);
    return line;
}

void merge_pass::finish()
{
    const auto by_start = [](const change& one, const change& other) { return one.start < other.start; };
    std::sort(changes_.begin(), changes_.end(), by_start);
    std::string edited;
    edited.reserve(text_.size() + appended_.size());
    std::size_t copied = 0;
    for (const change& one : changes_)
    {
        edited.append(text_, copied, one.start - copied);
        if (one.key.empty())
            edited += one.text;
        else
            append_setting(edited, one.key, one.value);
        copied = one.start + one.length;
    }
    edited.append(text_, copied).append(appended_);
    text_ = std::move(edited);
}
} // namespace kf::config
