#include "KFramework/process/account_name.h"

namespace kf::process
{
account_name split_account(const std::string& user)
{
    // KEPT[user-first-at]
    const std::size_t at = user.find('@');
    if (at == std::string::npos)
        return {user, std::nullopt};
    return {user.substr(0, at), user.substr(at + 1)};
}
} // namespace kf::process
