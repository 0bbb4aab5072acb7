#include <cstdio>

#include <gtest/gtest.h>

#ifdef KF_TEST_ON_WINDOWS
#include "tests/support/crash_exit_win.h"
#endif

/// Runs one family's tests. Output is unbuffered, so that a crash loses none of it.
int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
#ifdef KF_TEST_ON_WINDOWS
    kf::test::end_on_crash();
#endif
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
