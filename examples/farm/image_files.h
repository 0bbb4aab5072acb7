#pragma once
/// PNG files. Paths are UTF-8.

#include "scene.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace farm
{
/// Writes a PNG; false when the file cannot be written.
bool save_png(const image& picture, const std::string& path);

/// Reads a PNG as 8-bit red, green and blue; none when it is missing or damaged.
std::optional<image> load_png(const std::string& path);

/// Pictures 0 to count - 1, each shrunk to the given width, in rows of `columns`, on a dark ground.
///
/// @param picture  gives one of them, or none, whose place then stays empty; asked in order, so that only
///                 one picture is in memory at a time.
///
/// Pictures of another shape than the first are stretched to its shape.
image contact_sheet(int count, int columns, int width_of_each,
                    const std::function<std::optional<image>(int)>& picture);
} // namespace farm
