#include "KFramework/process/window_rules.h"

#include <algorithm>
#include <iterator>

namespace kf::process
{
namespace
{
constexpr std::uint32_t kPopupStyle = 0x80000000; // WS_POPUP
constexpr std::uint32_t kToolStyle = 0x80; // KEPT[window-tool-bit]: of the style, as callers' lists expect it
constexpr const char* kFormsMarker = "WindowsForms10.Window";

bool begins_with_any(const std::string& text, const std::vector<std::string>& prefixes)
{
    return std::ranges::any_of(prefixes, [&](const std::string& prefix) { return text.starts_with(prefix); });
}

/// The windows of one listing that a search takes.
std::vector<child_window> listed(const child_search& search, HWND__* parent)
{
    // KEPT[child-prefixes-late]: a prefix in force here would hide what lies inside windows of other classes.
    const bool any_class = search.prefixes.empty() || search.max_depth != 0;
    std::vector<child_window> found = search.list(parent);
    std::erase_if(found,
                  [&](const child_window& child)
                  {
                      return (search.popups_only && (child.style & kPopupStyle) == 0) ||
                             !(any_class || begins_with_any(child.class_name, search.prefixes));
                  });
    return found;
}
} // namespace

bool counts_always(const window_facts&)
{
    return true;
}

bool counts_as_main(const window_facts& window)
{
    return !window.has_owner() && window.visible();
}

bool counts_for_forms(const window_facts& window)
{
    // KEPT[forms-marker]: programs put text of their own before and behind it.
    return window.class_name().find(kFormsMarker) != std::string::npos && !window.title().empty();
}

bool counts_for_qt(const window_facts& window)
{
    // KEPT[qt-classes]: asked first, and enough.
    const std::string class_name = window.class_name();
    if (class_name.starts_with("Qt5") || class_name.starts_with("Qt4"))
        return true;
    constexpr std::uint32_t both = kToolStyle | kPopupStyle;
    return (window.style() & both) == both && !window.title().empty();
}

std::vector<child_window> find_children(const child_search& search, HWND__* parent, int depth)
{
    std::vector<child_window> found = listed(search, parent);
    if (depth < search.max_depth)
    {
        // KEPT[child-duplicates]: a listing holds all levels already.
        const std::size_t direct = found.size();
        for (std::size_t i = 0; i < direct; ++i)
        {
            std::vector<child_window> below = find_children(search, found[i].window, depth + 1);
            std::ranges::move(below, std::back_inserter(found));
        }
    }
    if (depth == 0 && !search.prefixes.empty())
        std::erase_if(found, [&](const child_window& child)
                      { return !begins_with_any(child.class_name, search.prefixes); });
    return found;
}
} // namespace kf::process
