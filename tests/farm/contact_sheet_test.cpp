#include "image_files.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

namespace
{
farm::image plain(int width, int height, std::uint8_t shade)
{
    return {width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(3 * width * height), shade)};
}

std::uint8_t red_at(const farm::image& picture, int x, int y)
{
    return picture.pixels[static_cast<std::size_t>(3 * (y * picture.width + x))];
}
/// In two columns, 20 pixels wide.
farm::image sheet_of(const std::vector<std::optional<farm::image>>& pictures)
{
    return farm::contact_sheet(static_cast<int>(pictures.size()), 2, 20,
                               [&](int i) { return pictures[static_cast<std::size_t>(i)]; });
}
} // namespace

TEST(ContactSheet, LaysPicturesOutInRows)
{
    const farm::image sheet = sheet_of({plain(40, 20, 50), plain(40, 20, 100), plain(40, 20, 200)});
    EXPECT_EQ(sheet.width, 6 + 2 * 26);
    EXPECT_EQ(sheet.height, 6 + 2 * 16);
    EXPECT_EQ(red_at(sheet, 0, 0), 18) << "the ground";
    EXPECT_EQ(red_at(sheet, 10, 10), 50);
    EXPECT_EQ(red_at(sheet, 36, 10), 100);
    EXPECT_EQ(red_at(sheet, 10, 26), 200);
    EXPECT_EQ(red_at(sheet, 36, 26), 18) << "no fourth picture";
}

TEST(ContactSheet, LeavesThePlaceOfAMissingPictureEmpty)
{
    const farm::image sheet = sheet_of({std::nullopt, plain(40, 20, 100), plain(40, 20, 200)});
    EXPECT_EQ(red_at(sheet, 10, 10), 18);
    EXPECT_EQ(red_at(sheet, 36, 10), 100);
    EXPECT_EQ(red_at(sheet, 10, 26), 200);
    EXPECT_TRUE(sheet_of({std::nullopt}).pixels.empty());
}

TEST(ContactSheet, SqueezesAPictureThatIsVeryTall)
{
    const farm::image sheet = sheet_of({plain(1, 8192, 50)});
    EXPECT_EQ(sheet.height, 6 + 80 + 6);
    EXPECT_EQ(red_at(sheet, 10, 6 + 79), 50);
}

TEST(SavePng, WritesWhatLoadPngReads)
{
    const kf::test::temporary_folder folder("-\xC3\xA9");
    const std::string path = folder.text("a.png");
    farm::image picture = plain(5, 3, 7);
    picture.pixels[4] = 250;
    ASSERT_TRUE(farm::save_png(picture, path));
    const auto read = farm::load_png(path);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->width, 5);
    EXPECT_EQ(read->height, 3);
    EXPECT_EQ(read->pixels, picture.pixels);
}

TEST(LoadPng, RefusesADamagedFile)
{
    const kf::test::temporary_folder folder;
    ASSERT_TRUE(farm::save_png(plain(64, 64, 7), folder.text("a.png")));
    const std::string bytes = folder.read("a.png");
    folder.write("a.png", bytes.substr(0, bytes.size() / 2));
    EXPECT_FALSE(farm::load_png(folder.text("a.png")));
    EXPECT_FALSE(farm::load_png(folder.text("missing.png")));
}
