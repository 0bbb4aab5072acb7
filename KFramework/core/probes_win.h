#pragma once
/// What the library asks the system about its host. Nothing is cached here.

#include "KFramework/core/host_texts.h"
#include "KFramework/core/processor_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace kf::core
{
/// @param last_speed  stays the speed when the system cannot list its processors.
processor_facts probe_processors(float last_speed);

/// The names of the graphics adapters, "Unknown" for one without a name or when
/// there is none. No value when the system could not be asked.
std::optional<std::vector<std::string>> probe_graphics_adapters();

/// The adapters' hardware addresses as text; "" and a line on standard error when
/// they cannot be read.
std::string probe_mac_text();

/// The true release, whatever the program's manifest says; zeros when unknown.
windows_release probe_windows_release();
} // namespace kf::core
