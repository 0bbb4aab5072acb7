#include "job_folder_win.h"

#include "image_files.h"

#include <KFramework/filesystem.h>

#include <algorithm>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr int kSheetColumns = 6;
constexpr int kSheetPictureWidth = 160;
constexpr int kMostSheetPictures = 240;
} // namespace

void remove_parts(const server_settings& settings)
{
    const std::string folder = settings.folder + "\\parts";
    KFileSystem::KDirectory entry;
    entry.path = folder;
    std::vector<std::string> names;
    if (KFileSystem::EnumDirFirstFile(&entry, false, false, true, true))
        do
            names.push_back(entry.name);
        while (KFileSystem::EnumDirNextFile(&entry, false, false, true, true));
    KFileSystem::EnumDirClose(&entry);
    for (const std::string& name : names)
        KFileSystem::RemoveFile(folder + "\\" + name);
}

std::string sheet_file(const server_settings& settings)
{
    return settings.folder + "\\contact-sheet.png";
}

void remove_old_pictures(const server& host, const server_settings& settings)
{
    for (int i = 0; i < settings.frame_count; ++i)
        KFileSystem::RemoveFile(host.frame_file(settings.first_frame + i));
    KFileSystem::RemoveFile(sheet_file(settings));
    remove_parts(settings); // of a server that was killed: tickets begin anew
}

bool write_contact_sheet(const server& host, const server_settings& settings)
{
    const int count = std::min(settings.frame_count, kMostSheetPictures);
    const auto picture = [&](int i)
    {
        const long long offset = static_cast<long long>(i) * settings.frame_count / count;
        return load_png(host.frame_file(settings.first_frame + static_cast<int>(offset)));
    };
    const image sheet = contact_sheet(count, kSheetColumns, kSheetPictureWidth, picture);
    return !sheet.pixels.empty() && save_png(sheet, sheet_file(settings));
}

} // namespace farm
