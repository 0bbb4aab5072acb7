#include "tests/support/captured_output_win.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace kf::test
{

namespace
{

constexpr const char* kFileName = "captured";

} // namespace

captured_output::captured_output(stream which) : descriptor_(which == stream::output ? 1 : 2)
{
    flush();
    saved_ = ::_dup(descriptor_);
    const int file = ::_wopen(folder_.entry(kFileName).c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT,
                              _S_IREAD | _S_IWRITE);
    EXPECT_TRUE(saved_ != -1 && file != -1) << "the stream cannot be captured";
    EXPECT_EQ(::_dup2(file, descriptor_), 0);
    ::_close(file);
}

captured_output::~captured_output()
{
    flush();
    ::_dup2(saved_, descriptor_);
    ::_close(saved_);
}

void captured_output::flush() const
{
    std::fflush(descriptor_ == 1 ? stdout : stderr);
}

std::string captured_output::bytes()
{
    flush();
    return folder_.read(kFileName);
}

std::string captured_output::text()
{
    std::string all = bytes();
    for (std::size_t at = 0; (at = all.find("\r\n", at)) != std::string::npos;)
        all.erase(at, 1);
    return all;
}

} // namespace kf::test
