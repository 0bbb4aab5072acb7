#include "KFramework/core.h"
#include "KFramework/string.h"
#include "KFramework/string/time_text.h"

namespace KFramework::KStringHelper
{
std::string FormatTime(long long time, int mode)
{
    std::tm local = {};
    LocalTime_R(&time, &local);
    return kf::string::time_text(local, mode);
}
} // namespace KFramework::KStringHelper
