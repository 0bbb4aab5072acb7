#include "secret.h"

namespace farm
{
void wipe(std::string& text)
{
    text.resize(text.capacity()); // what an earlier, longer text has left too
    volatile char* const bytes = text.data();
    for (std::size_t i = 0; i < text.size(); ++i)
        bytes[i] = '\0';
    text.clear();
}

// A short text lies inside its string, so that moving the string would leave it there.
secret::secret(secret&& other) noexcept : text_(other.text_)
{
    wipe(other.text_);
}

secret& secret::operator=(secret&& other) noexcept
{
    if (this != &other)
    {
        wipe(text_);
        text_ = other.text_;
        wipe(other.text_);
    }
    return *this;
}
} // namespace farm
