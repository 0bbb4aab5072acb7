#include "tests/stream_soak/numbered_traffic_win.h"

#include <chrono>
#include <thread>

namespace kf::test
{

std::string numbered_text(unsigned int seed, unsigned int number)
{
    std::uint64_t state = (std::uint64_t{seed} << 32 | number) * 0x9E3779B97F4A7C15ULL + 1;
    const auto draw = [&state]
    {
        state ^= state >> 33;
        state *= 0xFF51AFD7ED558CCDULL;
        return static_cast<unsigned int>(state >> 32);
    };
    const std::size_t length = draw() % 100 < 95 ? draw() % 2000 : draw() % 60001;
    if (draw() % 2 == 0)
        return incompressible_text(length, draw());
    std::string text;
    while (text.size() < length)
        text += "frame " + std::to_string(draw() % 1000) + " of the sequence; ";
    text.resize(length);
    return text;
}

numbered_end::numbered_end(unsigned int own_seed, unsigned int other_seed, unsigned int count, bool slow)
    : own_seed_(own_seed), other_seed_(other_seed), count_(count), slow_(slow)
{
}

void numbered_end::receive(const port_loop::message& one)
{
    if (one.command == kConfirmed)
    {
        other_done_ = true;
        return;
    }
    if (one.command != kNumbered || one.parameter != next_ ||
        one.text != numbered_text(other_seed_, one.parameter))
        ++wrong_;
    ++next_;
    if (slow_ && one.parameter % 97 == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(one.parameter % 5));
}

bool numbered_end::send(CKSocketStream& stream) const
{
    for (unsigned int i = 0; i < count_; ++i)
        if (!add_when_room(stream, kNumbered, numbered_text(own_seed_, i), i))
            return false;
    return true;
}

bool numbered_end::confirm(CKSocketStream& stream)
{
    return add_when_room(stream, kConfirmed, "", 0);
}

bool add_when_room(CKSocketStream& stream, unsigned int command, const std::string& text,
                   unsigned int parameter)
{
    constexpr unsigned int kMostOverhead = 13 + 7;
    double in = 0;
    double out = 0;
    while (stream.GetBuffersUsage(0, text.size() + kMostOverhead, in, out), out > 100)
    {
        if (stream.IsDisconnected())
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return stream.AddMessage(command, text.c_str(), parameter, false, false);
}

} // namespace kf::test
