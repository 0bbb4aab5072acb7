#pragma once
/// The base headers of the Windows SDK, in the order that works; files that need a special one (<userenv.h>,
/// <wbemidl.h> and their like) include it after this.

// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
// clang-format on
