#pragma once
/// How a point in time is laid out as a text, once its local fields are known.

#include <ctime>
#include <string>

namespace kf::string
{
/// The fields as FormatTime writes them; `mode` is FormatTime's.
std::string time_text(const std::tm& local, int mode);
} // namespace kf::string
