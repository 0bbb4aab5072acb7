#include "tests/children/call_trap_win.h"

#include "KFramework/platform/windows_win.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

// What every import is replaced by: a stub puts its number into r10 and comes here. All argument registers keep
// their values; the original is jumped to, so that it finds the stack as its caller left it.
asm(R"(
    .text
kf_trap_entry:
    subq $0x88, %rsp
    movq %rcx, 0x20(%rsp)
    movq %rdx, 0x28(%rsp)
    movq %r8, 0x30(%rsp)
    movq %r9, 0x38(%rsp)
    movups %xmm0, 0x40(%rsp)
    movups %xmm1, 0x50(%rsp)
    movups %xmm2, 0x60(%rsp)
    movups %xmm3, 0x70(%rsp)
    movq %r10, %rcx
    call kf_trap_note
    movq %rax, %r11
    movq 0x20(%rsp), %rcx
    movq 0x28(%rsp), %rdx
    movq 0x30(%rsp), %r8
    movq 0x38(%rsp), %r9
    movups 0x40(%rsp), %xmm0
    movups 0x50(%rsp), %xmm1
    movups 0x60(%rsp), %xmm2
    movups 0x70(%rsp), %xmm3
    addq $0x88, %rsp
    jmpq *%r11
)");

extern "C" void kf_trap_entry();

namespace kf::test
{
namespace
{
struct trapped_import
{
    const char* name;
    void* original;
};

constexpr std::size_t kMostImports = 2048;
constexpr std::size_t kMostCalls = 4096;

// Plain arrays: nothing may be allocated while calls are counted.
std::array<trapped_import, kMostImports> imports;
std::size_t import_count = 0;
std::array<const char*, kMostCalls> calls;
int call_count = 0;
int last_call = -1;
DWORD counted_thread = 0;

void end_if_chosen()
{
    if (call_count == last_call)
        ::TerminateProcess(::GetCurrentProcess(), kTrapped);
}

/// Functions that change nothing outside the process, and wait for nothing.
bool only_in_memory(std::string_view name)
{
    static constexpr std::string_view kBeginnings[] = {
        "mem",   "str",     "wcs", "is",    "Tls",    "Interlocked", "Rtl",   "Heap",
        "_lock", "_unlock", "__",  "Local", "_local", "FileTimeTo",  "Multi", "Wide"};
    static constexpr std::string_view kNames[] = {"malloc",
                                                  "calloc",
                                                  "realloc",
                                                  "free",
                                                  "tolower",
                                                  "_errno",
                                                  "localeconv",
                                                  "vfprintf",
                                                  "GetLastError",
                                                  "SetLastError",
                                                  "GetCurrentThreadId",
                                                  "GetCurrentProcessId",
                                                  "InitializeCriticalSection",
                                                  "DeleteCriticalSection",
                                                  "EnterCriticalSection",
                                                  "TryEnterCriticalSection",
                                                  "LeaveCriticalSection",
                                                  "GetProcessHeap",
                                                  "IsDBCSLeadByteEx",
                                                  "feof",
                                                  "ferror"};
    return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                       [&](std::string_view beginning) { return name.starts_with(beginning); }) ||
           std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

bool is_runtime(std::string_view module)
{
    return module.starts_with("libstdc++") || module.starts_with("libgcc") ||
           module.starts_with("libwinpthread");
}

bool is_code(const void* address)
{
    MEMORY_BASIC_INFORMATION facts{};
    constexpr DWORD kExecutable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return ::VirtualQuery(address, &facts, sizeof facts) != 0 && (facts.Protect & kExecutable) != 0;
}

/// mov r10, number; mov rax, entry; jmp rax
void write_stub(std::uint8_t* stub, std::uint64_t number)
{
    const std::uint64_t entry = reinterpret_cast<std::uint64_t>(&kf_trap_entry);
    const auto put = [&](std::initializer_list<std::uint8_t> code)
    { stub = std::copy(code.begin(), code.end(), stub); };
    const auto put_value = [&](std::uint64_t value)
    {
        std::memcpy(stub, &value, sizeof value);
        stub += sizeof value;
    };
    put({0x49, 0xBA});
    put_value(number);
    put({0x48, 0xB8});
    put_value(entry);
    put({0xFF, 0xE0});
}

constexpr std::size_t kStubBytes = 32;

std::uint8_t* stub_memory()
{
    static auto* const memory = static_cast<std::uint8_t*>(
        ::VirtualAlloc(nullptr, kMostImports * kStubBytes, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    return memory;
}

void trap_import(const char* name, void** slot)
{
    if (import_count == kMostImports || only_in_memory(name) || !is_code(*slot))
        return;
    imports[import_count] = {name, *slot};
    std::uint8_t* const stub = stub_memory() + import_count * kStubBytes;
    write_stub(stub, import_count);
    ++import_count;
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = stub;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
}
} // namespace

/// @return  the original to go on to.
extern "C" void* kf_trap_note(std::uint64_t number)
{
    if (counted_thread == ::GetCurrentThreadId())
    {
        end_if_chosen();
        if (call_count < static_cast<int>(kMostCalls))
            calls[static_cast<std::size_t>(call_count)] = imports[number].name;
        ++call_count;
    }
    return imports[number].original;
}

bool trap_calls_of(const char* module)
{
    auto* const base = reinterpret_cast<std::uint8_t*>(::GetModuleHandleA(module));
    if (base == nullptr)
        return false;
    const auto* const dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* from = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         from->Name != 0; ++from)
    {
        if (is_runtime(reinterpret_cast<const char*>(base + from->Name)))
            continue;
        const auto* entry = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
        auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->FirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++address)
            if ((entry->u1.Ordinal & IMAGE_ORDINAL_FLAG64) == 0)
                trap_import(
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + entry->u1.AddressOfData)->Name,
                    reinterpret_cast<void**>(&address->u1.Function));
    }
    return true;
}

void arm_trap(int last)
{
    call_count = 0;
    last_call = last;
    counted_thread = ::GetCurrentThreadId();
}

std::vector<std::string> disarm_trap()
{
    counted_thread = 0;
    end_if_chosen();
    const auto count = std::min(static_cast<std::size_t>(call_count), kMostCalls);
    return {calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(count)};
}
} // namespace kf::test
