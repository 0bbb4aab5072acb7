#include "KFramework/logger/rotation_win.h"

#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/filesystem/gzip_files_win.h"
#include "KFramework/logger/log_file_win.h"
#include "KFramework/logger/rotation_rules.h"
#include "KFramework/logger/write_line_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <utility>

namespace kf::logger
{
namespace
{
using rotation_callback = void (*)(const char*); // KEPT[callback-result]

/// The port on the file system and on the logger's own handle.
class file_rotation final : public rotation_port
{
public:
    explicit file_rotation(CKLoggerInstance& logger) : logger_(logger) {}

    bool exists(const std::string& path) override
    {
        const std::wstring wide = KFramework::KStringHelper::Utf8StringToWideString(path);
        if (::GetFileAttributesW(wide.c_str()) != INVALID_FILE_ATTRIBUTES)
            return true; // a folder is in the way too
        switch (::GetLastError())
        {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
            return false;
        default:
            return true; // what cannot be looked at may be there, and moving would destroy it
        }
    }

    void close_log() override
    {
        if (void* const open = std::exchange(logger_.fileHandle, nullptr))
            ::CloseHandle(open);
    }

    void move(const std::string& from, const std::string& to) override
    {
        using KFramework::KStringHelper::Utf8StringToWideString;
        // Not MvFile, which would delete a file that has appeared since exists() looked.
        ::MoveFileW(Utf8StringToWideString(from).c_str(), Utf8StringToWideString(to).c_str());
    }

    void compress(const std::string& from, const std::string& to) override
    {
        filesystem::compress_file_wide(from, to);
    }

    void remove(const std::string& path) override { KFramework::KFileSystem::RemoveFile(path); }

    void open_log(const std::string& path) override { logger_.fileHandle = open_log_file(path); }

private:
    CKLoggerInstance& logger_;
};

/// Notes the calling thread as the one inside the callback.
class callback_scope
{
public:
    explicit callback_scope(instance_state& state) : state_(state)
    {
        state_.callback_thread.store(::GetCurrentThreadId(), std::memory_order_relaxed);
    }
    ~callback_scope() { state_.callback_thread.store(0, std::memory_order_relaxed); }
    callback_scope(const callback_scope&) = delete;
    callback_scope& operator=(const callback_scope&) = delete;

private:
    instance_state& state_;
};
} // namespace

void rotate_if_due(CKLoggerInstance& logger)
{
    const int mode = load(logger.rotationMode);
    if (mode == kNoRotation)
        return;

    // KEPT[rotation-clock]: the server time decides and names; the live clock starts the next period.
    long long seconds = KFramework::GetServerTime();
    rotation_request request{mode, load(logger.rotationCompress), logger.logStartTime, {}, seconds};
    KFramework::LocalTime_R(&seconds, &request.now);

    file_rotation port(logger);
    const std::optional<std::string> rotated = rotate(port, logger.hidden->log, request);
    if (!rotated)
        return;
    logger.logStartTime = live_local_time();

    if (void* const callback = load(logger.rotationCallback))
    {
        const callback_scope inside(*logger.hidden);
        reinterpret_cast<rotation_callback>(callback)(rotated->c_str());
    }
}

bool in_rotation_callback(CKLoggerInstance& logger) noexcept
{
    const std::uint64_t thread = logger.hidden->callback_thread.load(std::memory_order_relaxed);
    return thread != 0 && thread == ::GetCurrentThreadId();
}
} // namespace kf::logger

namespace KFramework::KLogger
{
void CheckLogRotation(CKLoggerInstance* logger)
{
    if (kf::logger::in_rotation_callback(*logger))
        return;
    kf::logger::rotate_if_due(*logger);
    kf::logger::write_parked_lines(*logger, true);
}
} // namespace KFramework::KLogger
