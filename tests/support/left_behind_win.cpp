#include "tests/support/left_behind_win.h"

#include <atomic>
#include <cstdint>
#include <malloc.h>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{
namespace
{

constexpr std::uintptr_t kSearchedStack = 256 * 1024;

std::string_view searched;
void (*release)(void*) = nullptr;
std::atomic<int> freed{0};
std::atomic<int> found{0};

void look_and_release(void* block)
{
    if (block != nullptr)
    {
        ++freed;
        const std::string_view content(static_cast<const char*>(block), ::_msize(block));
        found += content.find(searched) != std::string_view::npos;
    }
    release(block);
}

/// What the hook is to replace, once everything is ready for the first block.
const char* begin_search(std::string_view bytes)
{
    freed = found = 0;
    release = &::free;
    searched = bytes;
    return "free";
}

} // namespace

// Every operator delete ends in the shared C++ runtime's call of free().
freed_memory::freed_memory(std::string_view bytes)
    : hook_("libstdc++-6.dll", begin_search(bytes), &look_and_release)
{
}

int freed_memory::count() const
{
    return found;
}

int freed_memory::blocks() const
{
    return freed;
}

[[gnu::noinline]] bool left_on_stack(std::string_view bytes)
{
    const auto top = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    MEMORY_BASIC_INFORMATION region;
    if (::VirtualQuery(reinterpret_cast<const void*>(top), &region, sizeof region) == 0)
        return false;
    // Up from the stack's end to the first page that the thread has used.
    auto lowest = reinterpret_cast<std::uintptr_t>(region.AllocationBase);
    while (::VirtualQuery(reinterpret_cast<const void*>(lowest), &region, sizeof region) != 0 &&
           (region.State != MEM_COMMIT || region.Protect != PAGE_READWRITE))
        lowest += region.RegionSize;
    const std::uintptr_t bottom = top - lowest > kSearchedStack ? top - kSearchedStack : lowest;
    const std::string_view unused(reinterpret_cast<const char*>(bottom), top - bottom);
    return unused.find(bytes) != std::string_view::npos;
}

} // namespace kf::test
