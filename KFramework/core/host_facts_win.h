#pragma once
/// The host facts that are probed once and kept.

namespace kf::core
{
/// Probes the processors anew.
void refresh_processor_facts();

/// Probes the network adapters anew; the kept text holds no line breaks.
void refresh_mac_text();
} // namespace kf::core
