/// The linker sends the library's calls of these zlib functions here (--wrap).

#include "tests/socket/failing_zlib.h"

#include <atomic>
#include <zlib.h>

namespace
{

std::atomic<bool> failing{false};

} // namespace

extern "C"
{
    int __real_deflateReset(z_streamp stream);
    int __real_inflateReset(z_streamp stream);

    int __wrap_deflateReset(z_streamp stream)
    {
        return failing ? Z_MEM_ERROR : __real_deflateReset(stream);
    }

    int __wrap_inflateReset(z_streamp stream)
    {
        return failing ? Z_MEM_ERROR : __real_inflateReset(stream);
    }
}

namespace kf::test
{

failing_zlib::failing_zlib()
{
    failing = true;
}

failing_zlib::~failing_zlib()
{
    failing = false;
}

} // namespace kf::test
