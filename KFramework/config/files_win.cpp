#include "KFramework/config.h"
#include "KFramework/config/file_text.h"
#include "KFramework/config/merge.h"
#include "KFramework/config/messages.h"
#include "KFramework/config/reader.h"
#include "KFramework/core.h"
#include "KFramework/filesystem/c_file.h"
#include "KFramework/logger.h"
#include "KFramework/string.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>

namespace
{
using kf::filesystem::c_file;

using read_buffer = std::array<char, kf::config::kReadBytes>;

// Text mode: the runtime turns "\r\n" into "\n" and back and ends a file at its first 1A byte. "N": children do not
// inherit the file.
c_file open_text(const std::string& path, const wchar_t* mode)
{
    return c_file(::_wfopen(KFramework::KStringHelper::Utf8StringToWideString(path).c_str(), mode));
}

/// The text of an existing file; empty when there is none.
///
/// @return  nothing when the file is there but cannot be read.
std::optional<std::string> read_text(const std::string& path)
{
    errno = 0;
    const c_file file = open_text(path, L"rtN");
    if (!file)
        return errno == ENOENT ? std::optional<std::string>(std::in_place) : std::nullopt;
    std::string text;
    const auto buffer = std::make_unique<read_buffer>();
    while (const std::size_t read = std::fread(buffer->data(), 1, buffer->size(), file.get()))
        text.append(buffer->data(), read);
    return std::ferror(file.get()) == 0 ? std::optional<std::string>(std::move(text)) : std::nullopt;
}

std::tm local_time()
{
    long long now = ::_time64(nullptr);
    std::tm local{};
    KFramework::LocalTime_R(&now, &local);
    return local;
}
} // namespace

namespace KFramework
{
using namespace kf::config;

bool LoadConfigFile(CKConfigManager* manager, const char* path)
{
    std::string opened = path != nullptr ? path : "";
    const c_file file = open_text(opened, L"rtN");
    if (!file)
    {
        KLogger::AddLogEntry(GetDefaultLogger(), kLevel, kModule, kCannotOpen, opened.c_str());
        return false;
    }
    manager->filePath = std::move(opened);
    manager->entries.clear();

    reader settings(manager->entries);
    const auto buffer = std::make_unique<read_buffer>();
    while (const std::size_t read = std::fread(buffer->data(), 1, buffer->size(), file.get()))
    {
        if (settings.take(std::string_view(buffer->data(), read)))
            continue;
        // KEPT[config-malformed]: what was read so far stays, and the result is true.
        KLogger::AddLogEntry(GetDefaultLogger(), kLevel, kModule, kMalformed, settings.line(),
                             manager->filePath.c_str());
        break;
    }
    return true;
}

bool SaveConfigFile(CKConfigManager* manager, const char* path)
{
    const std::string target = path != nullptr ? path : "";
    std::optional<std::string> text = read_text(target);
    if (!text)
        return false; // Writing would lose the user's lines.
    remove_header_and_footer(*text);
    replace_keys(*text, manager->entries);
    add_header_and_footer(*text, local_time());

    // KEPT[config-save-silent]
    const c_file file = open_text(target, L"wtN");
    if (!file)
        return false;
    std::fwrite(text->data(), 1, text->size(), file.get());
    return true;
}
} // namespace KFramework
