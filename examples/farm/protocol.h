#pragma once
/// What farm servers and workers say to each other.
///
/// Every message is one frame of the library's wire format: a command, a 32-bit
/// parameter and a text. Orders and everything a worker says about one carry
/// the order's ticket as the parameter, so that an answer can never be taken
/// for the answer to a later order of the same frame.
///
/// A worker says hello with its password and then nothing until it is let in, which the job tells it. From a
/// connection that was not let in the server takes that one message and nothing else.
///
///     worker                         server
///       hello "name=a ..."    ->
///                             <-     job "ZnJhbWVz..." | refused "reason"
///       ready                 ->
///                             <-     order [ticket] "frame=7 ..."
///       output [ticket] "line"  ->
///       done [ticket] | failed [ticket] "reason"  ->
///       ready                 ->
///       heartbeat "load"      <->    heartbeat
///                             <-     farewell

#include "secret.h"

#include <optional>
#include <string>
#include <string_view>

namespace farm
{
/// Command codes on the wire.
enum class command : unsigned int
{
    hello = 1,     ///< worker to server, first, once: text of a `hello`
    ready = 2,     ///< worker to server: wants an order
    order = 3,     ///< server to worker: text of an `order`
    output = 4,    ///< worker to server: one line of the renderer's output
    done = 5,      ///< worker to server: the ordered file is written
    failed = 6,    ///< worker to server: text is the reason
    heartbeat = 7, ///< both ways, every two seconds; from a worker with its load as text
    farewell = 8,  ///< server to worker: no more orders
    job = 9,       ///< server to worker, once and before the first order: the job as a bundle
    refused = 10,  ///< server to worker, in place of the job and last: text is the reason
};

/// Seconds between two heartbeats of either side.
inline constexpr int kHeartbeatSeconds = 2;

/// Seconds that a new connection has for its hello.
inline constexpr int kHelloSeconds = 5;

/// The longest hello as it stands on the wire, in bytes.
inline constexpr std::size_t kLongestHello = 500;

/// The longest line of output that a worker sends on; the rest is cut.
inline constexpr std::size_t kLongestOutputLine = 1000;

/// Who a worker is.
struct hello
{
    std::string name;     ///< 1 to 40 letters, digits, "-" or "_"
    secret password = {}; ///< may be empty
};

/// One frame of the job.
struct order
{
    /// Number of the frame.
    int frame = 0;
    /// Sequence mask of the file to write, for example C:\job\7.####.png; fit to stand in quotes.
    std::string mask;
};

/// Wipe what a hello's text was needed for.
std::string to_text(const hello& value);
std::string to_text(const order& value);

/// The record that a text describes, or none when a field is missing, given
/// twice, unknown or out of its range. Peers are not trusted.
std::optional<hello> parse_hello(std::string_view text);
std::optional<order> parse_order(std::string_view text);

/// A peer's text made fit for one log line: control characters become blanks,
/// and what follows the first `longest` bytes is cut.
std::string printable(std::string_view text, std::size_t longest);
} // namespace farm
