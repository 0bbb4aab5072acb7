#pragma once
/// The exact texts that this family prints to standard output.

namespace kf::services
{
// KEPT[service-texts]: wording and line ends as they are.
inline constexpr char kInstalled[] = "\nService installed successfully.\n";
inline constexpr char kNotInstalled[] =
    "\nCannot install the service. You could haven't enough permissions or "
    "the service could be already installed.\n";
inline constexpr char kRemoved[] = "\nService removed successfully.\n";
inline constexpr char kNotRemoved[] = "\nCannot remove the service. You could haven't enough permissions or "
                                      "the service could be not installed.\n";
inline constexpr char kNoManager[] = "\nCannot connect to the service control manager.\n";
} // namespace kf::services
