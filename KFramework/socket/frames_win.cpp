#include "KFramework/socket.h"
#include "KFramework/socket/frame.h"

namespace KFramework::KSocket
{

void EncodeSocketMessage(const int& command, const char* data, unsigned int parameter, char** frame,
                         size_t* payloadLength, size_t* frameLength)
{
    const kf::socket::encoded_frame encoded =
        kf::socket::encode_frame(static_cast<std::uint32_t>(command), data, parameter);
    *frame = encoded.block;
    *payloadLength = encoded.payload_bytes;
    if (frameLength != nullptr)
        *frameLength = encoded.payload_bytes + kf::socket::kFrameHeaderBytes;
}

void DestroyEncodedSocketMessage(char* frame)
{
    kf::socket::free_block(frame);
}

} // namespace KFramework::KSocket
