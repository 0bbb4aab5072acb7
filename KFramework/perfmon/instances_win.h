#pragma once

#include <map>
#include <string>

namespace kf::perfmon
{
/// A counter object's instances: UTF-8 names, in the order of their bytes, to the system's names.
using counter_instances = std::map<std::string, std::u16string>;

/// Asks for the instances of an object; none when the system does not list them.
counter_instances instances_of(const std::u16string& object);
} // namespace kf::perfmon
