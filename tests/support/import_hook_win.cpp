#include "tests/support/import_hook_win.h"

#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{

namespace
{

template <class Record>
Record* at(std::uint8_t* base, DWORD offset)
{
    return reinterpret_cast<Record*>(base + offset);
}

void** find_slot(HMODULE module, const char* name)
{
    auto* base = reinterpret_cast<std::uint8_t*>(module);
    const auto* dos = at<IMAGE_DOS_HEADER>(base, 0);
    const auto* headers = at<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0)
        return nullptr;
    for (auto* from = at<IMAGE_IMPORT_DESCRIPTOR>(base, directory.VirtualAddress); from->Name != 0; ++from)
    {
        const DWORD names = from->OriginalFirstThunk != 0 ? from->OriginalFirstThunk : from->FirstThunk;
        auto* entry = at<IMAGE_THUNK_DATA>(base, names);
        auto* address = at<IMAGE_THUNK_DATA>(base, from->FirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++address)
        {
            if ((entry->u1.Ordinal & IMAGE_ORDINAL_FLAG64) != 0)
                continue;
            const auto* by_name = at<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(entry->u1.AddressOfData));
            if (std::strcmp(reinterpret_cast<const char*>(by_name->Name), name) == 0)
                return reinterpret_cast<void**>(&address->u1.Function);
        }
    }
    return nullptr;
}

void* exchange(void** slot, void* value)
{
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof value, PAGE_READWRITE, &protection);
    void* const old = ::InterlockedExchangePointer(slot, value);
    ::VirtualProtect(slot, sizeof value, protection, &protection);
    return old;
}

} // namespace

import_slot::import_slot(const char* module, const char* name, void* replacement)
{
    HMODULE const loaded = ::GetModuleHandleA(module);
    if (loaded == nullptr)
    {
        ADD_FAILURE() << module << " is not loaded";
        return;
    }
    slot_ = find_slot(loaded, name);
    if (slot_ == nullptr)
    {
        ADD_FAILURE() << module << " does not import " << name;
        return;
    }
    original_ = exchange(slot_, replacement);
}

import_slot::~import_slot()
{
    if (slot_ != nullptr)
        exchange(slot_, original_);
}

} // namespace kf::test
