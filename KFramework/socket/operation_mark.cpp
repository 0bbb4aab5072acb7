#include "KFramework/socket/operation_mark.h"

#include "KFramework/socket/shared_field.h"

namespace kf::socket
{

bool set_mark(std::uint32_t& mark) noexcept
{
    std::uint32_t expected = 0;
    return shared(mark).compare_exchange_strong(expected, 1);
}

void clear_mark(std::uint32_t& mark) noexcept
{
    shared(mark).exchange(0);
}

bool is_marked(const std::uint32_t& mark) noexcept
{
    return shared(mark).load() == 1;
}

} // namespace kf::socket
