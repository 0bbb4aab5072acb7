#pragma once
/// The one place that includes the Windows SDK, in the order that works.

// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
// clang-format on
