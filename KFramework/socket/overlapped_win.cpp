#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/socket.h"
#include "KFramework/socket/operation_mark.h"
#include "KFramework/socket/stream_messages.h"

#include <cstddef>
#include <cstdint>

namespace KFramework::KSocket
{

namespace
{

constexpr char kSourcePath[] = "KFramework/socket";
constexpr int kSourceLine = 118;

} // namespace

// Completion ports give the record's first member back, and hosts compute with the rest.
static_assert(offsetof(CKSocketOverlappedStruct, overlapped) == 0);
static_assert(offsetof(CKSocketOverlappedStruct, event) == 32);
static_assert(offsetof(CKSocketOverlappedStruct, mark) == 36);
static_assert(sizeof(CKSocketOverlappedStruct) == 40);

CKSocketOverlappedStruct::CKSocketOverlappedStruct(kSocketIOEvent what) : overlapped{}, event(what), mark(0)
{
}

CKSocketOverlappedStruct::CKSocketOverlappedStruct() : overlapped{}, mark(0) {}

CKSocketOverlappedStruct::CKSocketOverlappedStruct(const CKSocketOverlappedStruct& other) = default;
CKSocketOverlappedStruct::CKSocketOverlappedStruct(CKSocketOverlappedStruct&& other) noexcept = default;
CKSocketOverlappedStruct&
CKSocketOverlappedStruct::operator=(const CKSocketOverlappedStruct& other) = default;
CKSocketOverlappedStruct&
CKSocketOverlappedStruct::operator=(CKSocketOverlappedStruct&& other) noexcept = default;

void CKSocketOverlappedStruct::Reset(kSocketIOEvent what)
{
    overlapped = {};
    event = what;
}

bool CKSocketOverlappedStruct::isMarked() const
{
    return kf::socket::is_marked(mark);
}

void CKSocketOverlappedStruct::Mark()
{
    if (kf::socket::set_mark(mark))
        return;
    // KEPT[mark-line-path]: the path's address is printed as a number, then a fixed line number.
    const auto path = static_cast<int>(reinterpret_cast<std::intptr_t>(kSourcePath));
    KLogger::AddLogEntry(GetDefaultLogger(), 1, kf::socket::kRecordModule, kf::socket::kMarkedTwice, path,
                         kSourceLine, static_cast<int>(event));
}

void CKSocketOverlappedStruct::Unmark()
{
    kf::socket::clear_mark(mark);
}

} // namespace KFramework::KSocket
