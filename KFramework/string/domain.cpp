#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::string GetDomain(std::string& account)
{
    return account.substr(account.rfind('@') + 1); // npos + 1 is 0: the whole text
}
} // namespace KFramework::KStringHelper
