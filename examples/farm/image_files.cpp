#include "image_files.h"

// UTF-8 names are opened wide on Windows.
#define STBI_WINDOWS_UTF8
#define STBIW_WINDOWS_UTF8
#define STBI_ONLY_PNG
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image.h>
#include <stb/stb_image_resize.h>
#include <stb/stb_image_write.h>

#include <algorithm>
#include <memory>

namespace farm
{
namespace
{
constexpr int kGap = 6; // pixels between two pictures and around all
constexpr std::uint8_t kGround = 18;
constexpr int kTallest = 4; // times its width: a taller picture is shown squeezed

image plain_ground(int width, int height)
{
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return {width, height, std::vector<std::uint8_t>(3 * pixels, kGround)};
}
} // namespace

bool save_png(const image& picture, const std::string& path)
{
    return stbi_write_png(path.c_str(), picture.width, picture.height, 3, picture.pixels.data(),
                          3 * picture.width) != 0;
}

std::optional<image> load_png(const std::string& path)
{
    image picture;
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load(path.c_str(), &picture.width, &picture.height, &channels, 3), stbi_image_free);
    if (!pixels)
        return std::nullopt;
    const auto size = 3 * static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    picture.pixels.assign(pixels.get(), pixels.get() + size);
    return picture;
}

image contact_sheet(int count, int columns, int width_of_each,
                    const std::function<std::optional<image>(int)>& picture)
{
    image sheet;
    int height_of_each = 0; // known with the first picture
    for (int i = 0; i < count; ++i)
    {
        const auto next = picture(i);
        if (!next)
            continue;
        if (height_of_each == 0)
        {
            height_of_each =
                std::clamp(next->height * width_of_each / next->width, 1, kTallest * width_of_each);
            sheet = plain_ground(kGap + columns * (width_of_each + kGap),
                                 kGap + (count + columns - 1) / columns * (height_of_each + kGap));
        }
        const int left = kGap + i % columns * (width_of_each + kGap);
        const int top = kGap + i / columns * (height_of_each + kGap);
        std::uint8_t* const corner =
            sheet.pixels.data() + 3 * (static_cast<std::size_t>(top) * static_cast<std::size_t>(sheet.width) +
                                       static_cast<std::size_t>(left));
        stbir_resize_uint8(next->pixels.data(), next->width, next->height, 0, corner, width_of_each,
                           height_of_each, 3 * sheet.width, 3);
    }
    return sheet;
}
} // namespace farm
