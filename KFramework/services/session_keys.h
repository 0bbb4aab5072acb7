#pragma once
/// What the names of the users' registry keys say, on systems that cannot list their logons.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kf::services
{
inline constexpr std::size_t kSubAuthorities = 8;
inline constexpr std::size_t kAuthorityBytes = 6;

/// The parts of a security identifier.
struct identifier_parts
{
    std::array<std::uint8_t, kAuthorityBytes> authority{};        ///< most significant byte first
    std::array<std::uint32_t, kSubAuthorities> sub_authorities{}; ///< 0 from count on
    std::uint8_t count = 0;                                       ///< 1 to kSubAuthorities
};

/// Whether a key below the users' root may be a user's: not ".default" in any case, and without "Classes".
bool may_be_user_key(const std::string& name);

/// Reads "S-REVISION-AUTHORITY-SUB-SUB...": the authority in hexadecimal, the others in decimal. What follows the
/// eighth sub-authority, or cannot be read, is left out.
///
/// @return  none without at least one sub-authority.
std::optional<identifier_parts> read_identifier(const std::string& name);
} // namespace kf::services
