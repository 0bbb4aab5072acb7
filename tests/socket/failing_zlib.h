#pragma once
/// Makes zlib's states fail, as they do when memory is exhausted.

namespace kf::test
{

/// While it lives, no zlib state can be reset.
class failing_zlib
{
public:
    failing_zlib();
    failing_zlib(const failing_zlib&) = delete;
    failing_zlib& operator=(const failing_zlib&) = delete;
    ~failing_zlib();
};

} // namespace kf::test
