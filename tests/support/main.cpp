#include <cstdio>

#include <gtest/gtest.h>

/// Runs one family's tests. Output is unbuffered, so that a crash loses none of it.
int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
