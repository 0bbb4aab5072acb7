#include <iterator>

#include <utf8.h>

#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::string fixUtf8String(const std::string& text)
{
    const auto first_invalid = utf8::find_invalid(text.begin(), text.end());
    std::string result(text.begin(), first_invalid);
    utf8::replace_invalid(first_invalid, text.end(), std::back_inserter(result));
    return result;
}
} // namespace KFramework::KStringHelper
