/// Where the fields of the public records lie: programs that are already built read and write them there. Fields of
/// the library's own come last and are not named here, but they count for the size.

#include <cstddef>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/KFramework.h"

using namespace KFramework;

namespace
{
/// Offset and size of each field.
using places = std::vector<std::pair<std::size_t, std::size_t>>;

template <class Record, class... Fields>
places places_in(const Record& record, const Fields&... fields)
{
    const auto offset = [&record](const void* field)
    {
        return static_cast<std::size_t>(static_cast<const char*>(field) -
                                        reinterpret_cast<const char*>(&record));
    };
    return {{offset(&fields), sizeof(Fields)}...};
}
} // namespace

TEST(Layout, OfCKLoggerInstance)
{
    const KLogger::CKLoggerInstance it;
    EXPECT_EQ(places_in(it, it.level, it.outputFlags, it.rotationCompress, it.fileHandle, it.fileName,
                        it.basePath, it.identifier, it.writeMutex, it.queueMutex, it.flushConditional,
                        it.writerThread, it.rotationMode, it.logStartTime, it.detached, it.stopRequested,
                        it.rotationCallback, it.pendingLines),
              (places{{0, 4},
                      {4, 4},
                      {8, 1},
                      {16, 8},
                      {24, 32},
                      {56, 32},
                      {88, 32},
                      {120, 8},
                      {128, 8},
                      {136, 8},
                      {144, 8},
                      {152, 4},
                      {156, 36},
                      {192, 1},
                      {193, 1},
                      {200, 8},
                      {208, 80}}));
    EXPECT_EQ(sizeof it, 296u);
}

TEST(Layout, OfCKConfigManager)
{
    const CKConfigManager it;
    EXPECT_EQ(places_in(it, it.entries, it.filePath), (places{{0, 48}, {48, 32}}));
    EXPECT_EQ(sizeof it, 80u);
}

TEST(Layout, OfCKMutex)
{
    const CKMutex it;
    EXPECT_EQ(places_in(it, it.mutex, it.useCount), (places{{0, 8}, {8, 4}}));
    EXPECT_EQ(sizeof it, 16u);
}

TEST(Layout, OfCKObject)
{
    const CKObject it(true);
    EXPECT_EQ(
        places_in(it, it.pooled, it.mutex, it.lockingDisabledThread, it.disableCount, it.referenceCount),
        (places{{8, 1}, {16, 8}, {24, 8}, {32, 4}, {36, 4}}));
    EXPECT_EQ(sizeof it, 48u);
    EXPECT_EQ(sizeof(CKRefCountedObject), sizeof it);
}

TEST(Layout, OfCKMutexPoolManager)
{
    const CKMutexPoolManager& it = *CKMutexPoolManager::GetUniqueClass();
    EXPECT_EQ(places_in(it, it.freeList, it.lentMap, it.guard), (places{{0, 80}, {80, 48}, {128, 8}}));
    EXPECT_EQ(sizeof it, 136u);
}

TEST(Layout, OfCKObjectGarbageCollector)
{
    const CKObjectGarbageCollector& it = *CKObjectGarbageCollector::GetUniqueClass();
    EXPECT_EQ(places_in(it, it.mutex, it.table, it.objectsTTL), (places{{0, 8}, {8, 48}, {56, 4}}));
    EXPECT_EQ(sizeof it, 64u);
    EXPECT_EQ(gSTGarbageCollector, &it);
    CKObjectGarbageCollector::DestroyUniqueClass();
}

TEST(Layout, OfCKSocketOverlappedStruct)
{
    const KSocket::CKSocketOverlappedStruct it(KSocket::kSocketIORead);
    EXPECT_EQ(places_in(it, it.overlapped, it.event, it.mark), (places{{0, 32}, {32, 4}, {36, 4}}));
    EXPECT_EQ(sizeof it, 40u);
}

TEST(Layout, OfCKSocketStreamsBuffersAndLimits)
{
    const KSocket::CKSocketStream it;
    EXPECT_EQ(
        places_in(it, it.sendBuffer, it.receiveBuffer, it.receiveFill, it.sendFill, it.receiveCapacity,
                  it.sendCapacity, it.lastHeartbeat, it.maximumReceiveSize, it.maximumSendSize,
                  it.bufferCheck),
        (places{
            {48, 8}, {56, 8}, {64, 8}, {72, 8}, {80, 8}, {88, 8}, {96, 8}, {104, 8}, {112, 8}, {120, 1}}));
    EXPECT_EQ(sizeof it, 368u);
}

TEST(Layout, OfCKSocketStreamsConnection)
{
    const KSocket::CKSocketStream it;
    EXPECT_EQ(places_in(it, it.userData, it.sentBytesCounter, it.receivedBytesCounter, it.completionPort,
                        it.writeMutex, it.socket, it.disconnected, it.traceEnabled, it.traceFile,
                        it.traceFolder, it.readEvent, it.writeEvent, it.host, it.port),
              (places{{128, 8},
                      {136, 8},
                      {144, 8},
                      {152, 8},
                      {160, 8},
                      {168, 8},
                      {176, 1},
                      {177, 1},
                      {184, 8},
                      {192, 32},
                      {224, 40},
                      {264, 40},
                      {304, 32},
                      {336, 4}}));
}

TEST(Layout, OfKThreadObject)
{
    const KProcesses::KThreadObject it;
    EXPECT_EQ(places_in(it, it.threadHandle, it.ended, it.exitCode), (places{{0, 8}, {8, 1}, {12, 4}}));
    EXPECT_EQ(sizeof it, 24u);
}

TEST(Layout, OfKConditional)
{
    const KProcesses::KConditional it;
    EXPECT_EQ(places_in(it, it.mutex, it.condition),
              (places{{0, 8}, {8, sizeof(boost::condition_variable)}}));
}

TEST(Layout, OfKPipesHandles)
{
    const KProcesses::KPipesHandles it;
    EXPECT_EQ(places_in(it, it.stdoutRead, it.stdinWrite, it.stderrRead, it.stdinRead, it.stdoutWrite,
                        it.stderrWrite, it.mergeStdErr),
              (places{{0, 8}, {8, 8}, {16, 8}, {24, 8}, {32, 8}, {40, 8}, {48, 1}}));
    EXPECT_EQ(sizeof it, 56u);
}

TEST(Layout, OfKPipeReader)
{
    const KProcesses::KPipeReader it;
    EXPECT_EQ(places_in(it, it.mutex, it.thread, it.stopRequested, it.abortRequested, it.pipe,
                        it.detectUnicode, it.text),
              (places{{0, 8}, {8, 8}, {16, 1}, {17, 1}, {24, 8}, {32, 4}, {40, 32}}));
    EXPECT_EQ(sizeof it, 72u);
}

TEST(Layout, OfKProcess)
{
    const KProcesses::KProcess it;
    EXPECT_EQ(places_in(it, it.processHandle, it.threadHandle, it.processId, it.threadId, it.pipes),
              (places{{0, 8}, {8, 8}, {16, 4}, {20, 4}, {24, 8}}));
    EXPECT_EQ(sizeof it, 32u);
}

TEST(Layout, OfKEnvironment)
{
    const KClientLib::KEnvironment it;
    EXPECT_EQ(places_in(it, it.variables), (places{{0, 48}}));
    EXPECT_EQ(sizeof it, 48u);
}

TEST(Layout, OfKProcessSnapshot)
{
    const KClientLib::KProcessSnapshot it;
    EXPECT_EQ(places_in(it, it.name, it.pid, it.parentPid), (places{{0, 32}, {32, 4}, {36, 4}}));
    EXPECT_EQ(sizeof it, 40u);
}

TEST(Layout, OfKProcessTreeNode)
{
    const KProcesses::KProcessTreeNode it;
    EXPECT_EQ(places_in(it, it.name, it.pid, it.parentPid, it.parent, it.children),
              (places{{0, 32}, {32, 4}, {36, 4}, {40, 8}, {48, 8}}));
    EXPECT_EQ(sizeof it, 56u);
}

TEST(Layout, OfKPerformanceMonitorData)
{
    const KPerformanceMonitor::kPerformanceMonitorData it;
    EXPECT_EQ(places_in(it, it.processorCount, it.cpuByCore, it.ramAmount, it.ramUsage, it.swapAmount,
                        it.swapUsage, it.ramByInstance, it.cpuByInstance, it.networkInterfaces,
                        it.interfaceFigureA, it.interfaceFigureB, it.disks, it.diskTotal, it.diskRead,
                        it.diskWrite, it.interfaceUsage),
              (places{{0, 4},
                      {8, 8},
                      {16, 8},
                      {24, 8},
                      {32, 8},
                      {40, 8},
                      {48, 48},
                      {96, 48},
                      {144, 48},
                      {192, 8},
                      {200, 8},
                      {208, 48},
                      {256, 8},
                      {264, 8},
                      {272, 8},
                      {280, 8}}));
    EXPECT_EQ(sizeof it, 288u);
}

TEST(Layout, OfMd5States)
{
    const TZMd5::md5_state_s it{};
    EXPECT_EQ(places_in(it, it.count, it.abcd, it.buf), (places{{0, 8}, {8, 16}, {24, 64}}));
    EXPECT_EQ(sizeof it, 88u);
}

TEST(Layout, OfKDirectory)
{
    const KFileSystem::KDirectory it;
    EXPECT_EQ(places_in(it, it.handle, it.name, it.path, it.isDirectory),
              (places{{0, 8}, {8, 32}, {40, 32}, {72, 1}}));
    EXPECT_EQ(sizeof it, 80u);
}

TEST(Layout, OfKldapObject)
{
    const KLDAP::KldapObject it;
    EXPECT_EQ(places_in(it, it.attributes), (places{{0, 48}}));
    EXPECT_EQ(sizeof it, 48u);
}
