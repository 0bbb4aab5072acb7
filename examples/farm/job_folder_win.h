#pragma once
/// The files in a job's folder, before and after the work.

#include "server_win.h"

#include <string>

namespace farm
{
/// An earlier job's frames, sheet and parts must not pass for this one's.
void remove_old_pictures(const server& host, const server_settings& settings);

/// Removes what workers left half done, and late answers.
void remove_parts(const server_settings& settings);

std::string sheet_file(const server_settings& settings);

/// Puts the frames on one picture, evenly chosen when they are very many; false when it cannot be written.
bool write_contact_sheet(const server& host, const server_settings& settings);
} // namespace farm
