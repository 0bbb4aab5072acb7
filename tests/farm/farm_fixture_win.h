#pragma once
/// A folder with a job in it, and the farm's programs started there.

#include "tests/support/program_run_win.h"

#include "tests/support/deadline.h"
#include "tests/support/temporary_folder.h"

#include "KFramework/filesystem.h"

#include <gtest/gtest.h>

#include <string>

namespace farm_test
{
using kf::test::program_run;
using kf::test::temporary_folder;
using kf::test::wait_until;

inline constexpr int kFrames = 6;
inline constexpr int kWidth = 96;
inline constexpr int kHeight = 54;
inline const std::string kSmallJob = "--frames 6 --width 96 --height 54";

std::string quoted(const std::string& text);

/// The password of this run's farms, which no other text holds, and a key of it that is checked quickly.
const std::string& farm_password();
const std::string& farm_key();

/// What the next programs get as FARM_PASSWORD; empty: nothing.
void give_password(const std::string& password);

/// A farm.conf with the key, and this behind it.
std::string conf_with_key(const std::string& more = {});

/// Fails the test when a file of the folder, or one below it, holds the password.
void expect_no_password_in(const temporary_folder& folder);

class Farm : public testing::Test
{
protected:
    void SetUp() override;

    /// Looks for the password in everything that the programs have left.
    void TearDown() override;

    std::string server_arguments(const std::string& job = kSmallJob) const;

    /// A file of the test's own: the usual one lies beside the programs.
    std::string configuration() const;

    /// The port that a started server has chosen.
    std::string port() const;

    std::string worker_arguments(const std::string& port, const std::string& name,
                                 const std::string& more = {}) const;

    std::string frame_file(int frame) const;

    /// Every frame is exactly what the scene gives for it, and nothing else is left.
    void expect_all_frames() const;

    temporary_folder folder{"-\xC3\xA9"};
};
} // namespace farm_test
