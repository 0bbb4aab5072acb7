#include "KFramework/process/environment.h"

#include "KFramework/platform/wipe.h"
#include "KFramework/process.h"
#include "KFramework/process/arguments.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace kf::process
{
namespace
{
/// Zeroed, so that what the layout leaves unwritten carries nothing of ours into a child.
template <class Unit>
Unit* zeroed(std::size_t units)
{
    // An empty table's block is one unit, but the system looks for two zeros at an end.
    auto* const block = static_cast<Unit*>(std::calloc(std::max<std::size_t>(units, 2), sizeof(Unit)));
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

/// Copies up to the text's first zero, at most `room` units; values may be confidential.
void bounded_copy(char16_t* to, std::u16string text, std::size_t room)
{
    const platform::wiped_at_end wipe_text(text);
    const std::size_t length = std::min({text.size(), text.find(u'\0'), room});
    std::copy_n(text.data(), length, to);
}
} // namespace

std::size_t block_units(const environment_table& table)
{
    std::size_t units = 1;
    for (const auto& [name, value] : table)
        units += name.size() + value.size() + 2; // KEPT[environment-empty-name]: counted, not written
    return units;
}

char* narrow_block(const environment_table& table)
{
    char* const block = zeroed<char>(block_units(table));
    char* end = block;
    for (const auto& [name, value] : table)
    {
        if (name.empty())
            continue;
        end = std::copy(name.begin(), name.end(), end);
        *end++ = '=';
        end = std::copy(value.begin(), value.end(), end);
        ++end; // its terminator
    }
    return block;
}

char16_t* wide_block(const environment_table& table, const utf16_converter& to_utf16)
{
    char16_t* const block = zeroed<char16_t>(block_units(table));
    char16_t* end = block;
    for (const auto& [name, value] : table)
    {
        if (name.empty())
            continue;
        // KEPT[environment-wide-layout]: text takes as many units as it has UTF-8 bytes, the rest stays zero.
        bounded_copy(end, to_utf16(name), name.size());
        end += name.size();
        *end++ = u'=';
        bounded_copy(end, to_utf16(value), value.size());
        end += value.size();
        ++end; // its terminator
    }
    return block;
}
} // namespace kf::process

namespace KFramework::KProcesses
{
char** BuildEnvironmentArray(KClientLib::KEnvironment* environment)
{
    if (environment == nullptr)
        return nullptr;
    std::vector<std::string> texts;
    texts.reserve(environment->variables.size());
    for (const auto& [name, value] : environment->variables)
        texts.push_back(name + '=' + value);
    return kf::process::make_array(texts);
}

char* GetEnvironmentAnsiString(KClientLib::KEnvironment* environment)
{
    return environment != nullptr ? kf::process::narrow_block(environment->variables) : nullptr;
}
} // namespace KFramework::KProcesses
