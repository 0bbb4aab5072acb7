#pragma once
/// Which windows count, and in what order child windows are searched.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct HWND__;

namespace kf::process
{
/// What the rules ask about a top-level window; each answer costs a call.
class window_facts
{
public:
    virtual bool has_owner() const = 0;
    virtual bool visible() const = 0;
    virtual std::string class_name() const = 0;
    virtual std::uint32_t style() const = 0;
    virtual std::string title() const = 0;

protected:
    ~window_facts() = default;
};

using window_rule = bool (*)(const window_facts&);

bool counts_always(const window_facts& window);
bool counts_as_main(const window_facts& window);
bool counts_for_forms(const window_facts& window);
bool counts_for_qt(const window_facts& window);

/// A window inside another, as it was when it was listed.
struct child_window
{
    HWND__* window;
    std::uint32_t style;
    std::string class_name;
};

/// The windows inside a window, at all levels.
using child_lister = std::function<std::vector<child_window>(HWND__* parent)>;

/// What stays the same through a search and the searches inside it.
struct child_search
{
    int max_depth;
    bool popups_only;
    std::vector<std::string> prefixes;
    child_lister list;
};

/// The search that GetWindowChilds states.
std::vector<child_window> find_children(const child_search& search, HWND__* parent, int depth);
} // namespace kf::process
