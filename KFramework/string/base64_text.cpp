#include <cstring>
#include <memory>

#include "KFramework/string.h"

namespace
{
struct buffer_release
{
    void operator()(char* buffer) const { KFramework::KBase64::DeleteBuffer(&buffer); }
};

using base64_buffer = std::unique_ptr<char, buffer_release>;
} // namespace

namespace KFramework::KStringHelper
{
std::string ToBase64(const std::string& text)
{
    char* encoded = nullptr;
    // KEPT[encoders-end-at-nul]
    const unsigned long long counted =
        KBase64::EncodeAlloc(text.c_str(), std::strlen(text.c_str()), &encoded);
    const base64_buffer owner(encoded);
    return encoded != nullptr ? std::string(encoded, counted - 1) : std::string();
}

std::string FromBase64(const std::string& text)
{
    char* decoded = nullptr;
    // KEPT[encoders-end-at-nul]: the argument, and what it decodes to.
    const bool whole = KBase64::DecodeAlloc(text.c_str(), std::strlen(text.c_str()), &decoded, nullptr);
    const base64_buffer owner(decoded);
    return whole && decoded != nullptr ? std::string(decoded) : std::string();
}
} // namespace KFramework::KStringHelper
