#pragma once
/// The default logger's lines, each as "TAG [module] message", for as long as it lives.

#include "KFramework/logger.h"
#include "tests/support/temporary_folder.h"

#include <string>
#include <vector>

namespace kf::test
{

class captured_log
{
public:
    captured_log();
    ~captured_log();
    captured_log(const captured_log&) = delete;
    captured_log& operator=(const captured_log&) = delete;

    [[nodiscard]] std::vector<std::string> lines() const;

    /// How many lines hold this text.
    [[nodiscard]] std::size_t count(const std::string& text) const;

private:
    temporary_folder folder_;
    KFramework::KLogger::CKLoggerInstance logger_;
    KFramework::KLogger::CKLoggerInstance* before_;
};

} // namespace kf::test
