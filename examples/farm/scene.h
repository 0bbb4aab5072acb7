#pragma once
/// The animation: a flight around a power-8 Mandelbulb, ray-marched. Portable.

#include <cstdint>
#include <functional>
#include <vector>

namespace farm
{
/// An image of 8-bit red, green and blue, rows from the top.
struct image
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels; ///< width * height * 3 bytes
};

/// Draws one frame. The same arguments give the same pixels, whoever draws.
///
/// @param phase     0 to 1: the place in the animation, which ends where it began.
/// @param progress  called with 0 to 100 after each tenth of the rows; may be empty.
image draw_scene(int width, int height, double phase, const std::function<void(int)>& progress);
} // namespace farm
