#pragma once
/// Texts that must not outlive their use. Portable.

#include <string>

namespace farm
{
/// Empties a text and overwrites all the memory that it has.
void wipe(std::string& text);

/// A password, wiped when it goes. Moving it wipes the source.
class secret
{
public:
    secret() = default;

    /// Copies the text and wipes it.
    explicit secret(std::string&& text) : text_(text) { wipe(text); }
    secret(secret&& other) noexcept;
    secret& operator=(secret&& other) noexcept;
    secret(const secret&) = delete;
    secret& operator=(const secret&) = delete;
    ~secret() { wipe(text_); }

    bool empty() const { return text_.empty(); }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};
} // namespace farm
