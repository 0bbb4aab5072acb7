#include "KFramework/logger/rotation.h"

#include "KFramework/logger/rotation_rules.h"

namespace kf::logger
{
std::optional<std::string> rotate(rotation_port& port, const log_location& log,
                                  const rotation_request& request)
{
    if (!rotation_due(request.mode, request.start, request.now))
        return std::nullopt;

    // KEPT[period-that-ends]: the name tells the period that ends, and the server time at which it ended.
    const std::string plain = rotated_name(log.folder, request.server_seconds,
                                           rotation_suffix(request.mode, request.start), log.file);
    const std::string compressed = plain + ".gz";
    // A second rotation within one server second would destroy what the first one moved away.
    if (port.exists(plain) || port.exists(compressed))
        return std::nullopt;

    port.close_log();
    port.move(log.path(), plain);
    if (request.compress)
    {
        port.compress(plain, compressed);
        port.remove(plain); // KEPT[failed-compression]: whether it was compressed or not
    }
    port.open_log(log.path());
    return request.compress ? compressed : plain;
}
} // namespace kf::logger
