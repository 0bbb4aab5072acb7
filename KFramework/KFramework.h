#pragma once
/// All families of the library. Include this, or the one header a file needs.
/// socket.h includes Winsock before <windows.h>; a file that includes <windows.h>
/// itself includes this header first.

#include "KFramework/socket.h"

#include "KFramework/config.h"
#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/ldap.h"
#include "KFramework/logger.h"
#include "KFramework/object.h"
#include "KFramework/perfmon.h"
#include "KFramework/process.h"
#include "KFramework/services.h"
#include "KFramework/string.h"
