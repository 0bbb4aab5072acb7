#pragma once
/// Windows Sockets for the length of a test; a host starts them itself.

namespace kf::test
{

class winsock_session
{
public:
    winsock_session();
    winsock_session(const winsock_session&) = delete;
    winsock_session& operator=(const winsock_session&) = delete;
    ~winsock_session();
};

} // namespace kf::test
