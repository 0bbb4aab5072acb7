#pragma once
/// What the library writes to standard output or standard error, as bytes.

#include <string>

#include "tests/support/temporary_folder.h"

namespace kf::test
{

/// Redirects one stream of the C runtime, which program and library share, into a file while it lives.
class captured_output
{
public:
    enum class stream
    {
        output,
        error
    };

    explicit captured_output(stream which);
    captured_output(const captured_output&) = delete;
    captured_output& operator=(const captured_output&) = delete;
    ~captured_output();

    /// Flushes the stream and gives everything written since the capture began; lines end in "\n".
    [[nodiscard]] std::string text();

    /// The same with the bytes as they reached the file: "\r\n" where the runtime wrote in text mode.
    [[nodiscard]] std::string bytes();

private:
    void flush() const;

    temporary_folder folder_;
    int descriptor_;
    int saved_ = -1;
};

} // namespace kf::test
