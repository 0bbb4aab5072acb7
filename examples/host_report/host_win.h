#pragma once
/// What the library tells of this host, gathered.

#include "report.h"

#include <winsock2.h>

namespace host_report
{
/// Windows Sockets, the library and its monitor, from construction to destruction.
class library_session
{
public:
    library_session();
    ~library_session();
    library_session(const library_session&) = delete;
    library_session& operator=(const library_session&) = delete;

private:
    WSADATA winsock_{};
};

/// Takes a moment: the graphics adapters come from the system's management service.
host_facts read_facts();

load_figures read_loads();
} // namespace host_report
