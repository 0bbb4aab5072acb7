#pragma once
/// PNG files. Paths are UTF-8.

#include "scene.h"

#include <optional>
#include <string>
#include <vector>

namespace farm
{
/// Writes a PNG; false when the file cannot be written.
bool save_png(const image& picture, const std::string& path);

/// Reads a PNG as 8-bit red, green and blue; none when it is missing or damaged.
std::optional<image> load_png(const std::string& path);

/// All pictures, each shrunk to the given width, in rows of `columns`, on a dark ground.
/// Pictures of another shape than the first are stretched to its shape.
image contact_sheet(const std::vector<image>& pictures, int columns, int width_of_each);
} // namespace farm
