#pragma once

#include "KFramework/config/edit.h"

#include <map>
#include <string>

namespace kf::config
{
/// Puts all entries into a file's text: the result of replace_key for each of them, in their order. An entry without
/// kBetween in its name is left out.
void replace_keys(std::string& text, const std::map<std::string, std::string>& entries,
                  std::size_t largest_text = kLargestText);
} // namespace kf::config
