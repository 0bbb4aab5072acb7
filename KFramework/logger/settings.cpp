/// The setters. Names take effect in the next CreateLogger, the others at once.

#include "KFramework/logger/instance_state.h"

namespace KFramework::KLogger
{
void SetLoggerFile(CKLoggerInstance* logger, const char* fileName)
{
    logger->fileName = fileName;
}

void SetLoggerBasePath(CKLoggerInstance* logger, const std::string& folder)
{
    logger->basePath = folder;
}

void SetLoggerRotation(CKLoggerInstance* logger, int mode)
{
    kf::logger::store(logger->rotationMode, std::int32_t{mode});
}

void SetLoggerRotationCompress(CKLoggerInstance* logger, bool compress)
{
    kf::logger::store(logger->rotationCompress, compress);
}

void SetLoggerRotationCallback(CKLoggerInstance* logger, void* callback)
{
    kf::logger::store(logger->rotationCallback, callback);
}
} // namespace KFramework::KLogger
