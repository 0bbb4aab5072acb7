#pragma once

#include <optional>
#include <string>

namespace kf::process
{
/// Who logs on where.
struct account_name
{
    std::string account;
    std::optional<std::string> domain; ///< none: the system looks for the account itself
};

/// Splits "account@domain" at its first "@".
account_name split_account(const std::string& user);
} // namespace kf::process
