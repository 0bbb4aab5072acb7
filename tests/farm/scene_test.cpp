#include "scene.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(DrawScene, GivesTheSamePixelsForTheSameFrame)
{
    EXPECT_EQ(farm::draw_scene(48, 27, 0.25, {}).pixels, farm::draw_scene(48, 27, 0.25, {}).pixels);
}

TEST(DrawScene, DrawsSomethingDifferentForEachPhase)
{
    EXPECT_NE(farm::draw_scene(48, 27, 0.25, {}).pixels, farm::draw_scene(48, 27, 0.5, {}).pixels);
}

TEST(DrawScene, FillsThePictureWithLightAndDark)
{
    const farm::image picture = farm::draw_scene(48, 27, 0, {});
    ASSERT_EQ(picture.pixels.size(), 48U * 27 * 3);
    const auto [darkest, lightest] = std::minmax_element(picture.pixels.begin(), picture.pixels.end());
    EXPECT_LT(*darkest, 60);
    EXPECT_GT(*lightest, 200);
}

TEST(DrawScene, TellsEachTenthOnce)
{
    std::vector<int> told;
    farm::draw_scene(16, 20, 0, [&](int percent) { told.push_back(percent); });
    EXPECT_EQ(told, (std::vector<int>{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
}
