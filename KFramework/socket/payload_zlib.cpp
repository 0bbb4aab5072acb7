#include "KFramework/socket/payload_zlib.h"

#include "KFramework/socket/kept_states.h"

#include <limits>
#include <utility>
#include <zlib.h>

namespace kf::socket
{
namespace
{

class deflate_state
{
public:
    deflate_state() noexcept : ready_(::deflateInit(&stream_, Z_DEFAULT_COMPRESSION) == Z_OK) {}
    deflate_state(const deflate_state&) = delete;
    deflate_state& operator=(const deflate_state&) = delete;
    ~deflate_state() { ::deflateEnd(&stream_); }

    bool reset() noexcept { return ready_ && ::deflateReset(&stream_) == Z_OK; }
    z_stream& stream() noexcept { return stream_; }

private:
    z_stream stream_ = {};
    bool ready_;
};

class inflate_state
{
public:
    inflate_state() noexcept : ready_(::inflateInit(&stream_) == Z_OK) {}
    inflate_state(const inflate_state&) = delete;
    inflate_state& operator=(const inflate_state&) = delete;
    ~inflate_state() { ::inflateEnd(&stream_); }

    bool reset() noexcept { return ready_ && ::inflateReset(&stream_) == Z_OK; }
    z_stream& stream() noexcept { return stream_; }

private:
    z_stream stream_ = {};
    bool ready_;
};

constinit kept_states<deflate_state> kept_deflates;
constinit kept_states<inflate_state> kept_inflates;

/// zlib declares its input without const.
Bytef* input(const char* bytes) noexcept
{
    return const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes));
}

void set_buffers(z_stream& stream, char* room, std::size_t room_bytes, const char* from,
                 std::size_t from_bytes) noexcept
{
    stream.next_in = input(from);
    stream.avail_in = static_cast<uInt>(from_bytes);
    stream.next_out = reinterpret_cast<Bytef*>(room);
    stream.avail_out = static_cast<uInt>(room_bytes);
}

} // namespace

std::size_t deflate_payload(char* room, std::size_t room_bytes, const char* text,
                            std::size_t text_bytes) noexcept
{
    constexpr std::size_t kMost = std::numeric_limits<uInt>::max();
    if (text_bytes > kMost || room_bytes > kMost)
        return 0;
    auto state = kept_deflates.take();
    if (state == nullptr || !state->reset())
        return 0;
    z_stream& stream = state->stream();
    set_buffers(stream, room, room_bytes, text, text_bytes);
    const bool whole = ::deflate(&stream, Z_FINISH) == Z_STREAM_END;
    const std::size_t written = room_bytes - stream.avail_out;
    kept_deflates.give_back(std::move(state));
    return whole ? written : 0;
}

bool inflate_payload(char* room, std::uint32_t room_bytes, const char* stream_start,
                     std::uint32_t stream_bytes) noexcept
{
    auto state = kept_inflates.take();
    if (state == nullptr || !state->reset())
        return false;
    z_stream& stream = state->stream();
    set_buffers(stream, room, room_bytes, stream_start, stream_bytes);
    const bool whole = ::inflate(&stream, Z_FINISH) == Z_STREAM_END;
    kept_inflates.give_back(std::move(state));
    return whole;
}

} // namespace kf::socket
