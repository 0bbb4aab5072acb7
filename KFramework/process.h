#pragma once
/// Threads, mutexes, pipes, children and their environment.
///
/// Threads: the functions may be called from any thread; a record belongs to one owner at a time unless its
/// comment says otherwise.
/// Errors: through results alone; nothing here logs or throws, but for exhausted memory.
/// Ownership: records keep plain handles. What a function makes is freed by the function its comment names,
/// never by delete; the two environment blocks by free().

#include "KFramework/export.h"

#include <boost/thread/condition_variable.hpp>

#include <cstdint>
#include <map>
#include <string>

namespace boost
{
class mutex;
class shared_mutex;
} // namespace boost

namespace KClientLib
{
/// An environment table: UTF-8 names and values, ordered by the names' bytes.
struct KEnvironment
{
    std::map<std::string, std::string> variables;
};
} // namespace KClientLib

namespace KFramework::KProcesses
{
// --- records -------------------------------------------------------------

/// A started thread. Made by SpawnThread, freed by the JoinThread that sees its end.
struct KThreadObject
{
    void* threadHandle = nullptr; ///< null when the thread could not be started
    bool ended = false;           ///< set by EndThread; read it through CheckJoinableThread
    std::int32_t exitCode = 0;    ///< the code given to EndThread
    void* hidden = nullptr;       ///< the library's own
};

/// A condition variable and the mutex it is used with. Made by CreateConditional, freed by
/// DestroyConditional.
struct KConditional
{
    boost::mutex* mutex = nullptr; ///< not owned
    boost::condition_variable condition;
};

/// The three pipes between a parent and a child. Made by CreatePipes, freed by DeletePipes.
struct KPipesHandles
{
    void* stdoutRead = nullptr;  ///< parent's end of the child's standard output
    void* stdinWrite = nullptr;  ///< parent's end of the child's standard input
    void* stderrRead = nullptr;  ///< parent's end of the child's standard error; null when merged
    void* stdinRead = nullptr;   ///< child's; inheritable; null once SpawnProcess has closed it
    void* stdoutWrite = nullptr; ///< child's; inheritable; null once SpawnProcess has closed it
    void* stderrWrite = nullptr; ///< child's; inheritable; null when merged or closed
    bool mergeStdErr = false;    ///< the child's standard error goes into its standard output
};

/// A thread that drains one pipe end into text. Made by CreatePipeReader, freed by DestroyPipeReader.
struct KPipeReader
{
    boost::mutex* mutex = nullptr;
    KThreadObject* thread = nullptr; ///< null once TerminatePipeReader has joined it
    bool stopRequested = false;      ///< changed atomically, also by the thread when the pipe breaks
    bool abortRequested = false;     ///< changed atomically
    void* pipe = nullptr;            ///< the end that is read; not owned
    int detectUnicode = 0;           ///< not 0: chunks that look like UTF-16 are taken as such
    std::string text;                // guarded by mutex
};

/// A started child. Made by SpawnProcess, freed by CloseProcess; waiting and ending leave it.
struct KProcess
{
    void* processHandle = nullptr;
    void* threadHandle = nullptr; ///< of the child's first thread
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    KPipesHandles* pipes = nullptr; ///< what SpawnProcess was given; not owned, may be null
};

// --- threads ---------------------------------------------------------------
//
// A routine calls GetThreadData on its argument first and EndThread on it last, once, and returns:
//
//   unsigned int count(void* start)
//   {
//       auto* const job = static_cast<job_data*>(GetThreadData(start));
//       const int code = job->run();
//       EndThread(code, start);
//       return 0;
//   }

/// Starts a thread at once, with the system's own security and stack size.
///
/// @param routine  runs in the new thread; receives the thread's start record.
/// @param data     given to the routine by GetThreadData; stays the caller's.
/// @return  the thread's record, never null.
/// @owns    the caller frees the record with JoinThread.
/// @threads any.
/// @kept    spawn-always-a-record: when the thread cannot be started (or routine is null) there is a record
///          all the same; its threadHandle is null, and JoinThread gives -1.
KFRAMEWORK_API KThreadObject* SpawnThread(unsigned int (*routine)(void*), void* data);

/// The data given to SpawnThread.
///
/// @param startRecord  the routine's argument; null gives null.
KFRAMEWORK_API void* GetThreadData(void* startRecord);

/// Marks the end of the calling routine, which then returns; the thread does not end here.
///
/// @param exitCode     what JoinThread gives.
/// @param startRecord  the routine's argument, no longer usable afterwards; null does nothing.
KFRAMEWORK_API void EndThread(int exitCode, void* startRecord);

/// Whether a join will not have to wait.
///
/// @return  1 once the routine has called EndThread; 0 before, for a killed thread, for one that never
///          started and for null.
/// @threads any, until the record is freed.
KFRAMEWORK_API int CheckJoinableThread(KThreadObject* thread);

/// Waits for a thread to end, and frees its record.
///
/// @param thread     null gives -1.
/// @param timeoutMs  in milliseconds; a negative value counts as its unsigned 32-bit one, so -1 is no limit
///                   too.
/// @param timedOut   set to true when the time is over and not touched otherwise; may be null.
/// @return  the code given to EndThread (0 when the routine called none or was killed); 0 when the time is
///          over; -1 when the wait failed.
/// @owns    the record is freed unless the time is over. After a failed wait the thread may still run and
///          call EndThread; what it needs for that stays until then.
/// @threads one join at a time.
/// @kept    join-zero-waits: a timeoutMs of 0 waits without limit.
/// @kept    join-keeps-record: when the time is over the record stays, for another join or TerminateThread.
/// @kept    join-marked-code: what the routine returns, the system's exit code, is never given.
KFRAMEWORK_API int JoinThread(KThreadObject* thread, int timeoutMs, bool* timedOut);

/// Kills a thread with the system's exit code 0xFFFFFFFF. What the thread has locked stays locked.
///
/// @return  the system's result, not 0 on success; 0 for null and for a thread that never started.
/// @kept    kill-keeps-record: record and handle stay until JoinThread.
KFRAMEWORK_API int TerminateThread(KThreadObject* thread);

/// The calling thread's id.
///
/// @kept    current-thread-id: an id and no handle, unlike the system's function of this name.
KFRAMEWORK_API unsigned long long GetCurrentThread();

// --- mutexes ---------------------------------------------------------------
//
// Null is taken everywhere: destroying it does nothing, locking and unlocking it do nothing, trying it fails.
// No mutex is recursive. Only exhausted memory or system objects make a Create function throw
// (std::bad_alloc).

/// A new unlocked mutex.
///
/// @owns    the caller frees it with DestroyMutex.
/// @kept    create-mutex-w: the name ends in W, as the system's headers rename CreateMutex.
KFRAMEWORK_API boost::mutex* CreateMutexW();

/// Frees a mutex that nobody holds or waits for.
///
/// @return  always true.
/// @kept    destroy-always-true: all three Destroy functions give true, for null too.
KFRAMEWORK_API bool DestroyMutex(boost::mutex* mutex);

/// Waits for the mutex and takes it.
KFRAMEWORK_API void LockMutex(boost::mutex* mutex);

/// Takes the mutex when it is free; never waits.
///
/// @return  false when another thread, or the caller, holds it.
KFRAMEWORK_API bool TryLockMutex(boost::mutex* mutex);

/// Gives the mutex back.
KFRAMEWORK_API void UnlockMutex(boost::mutex* mutex);

/// A new unlocked mutex that one writer or many readers hold.
///
/// @owns    the caller frees it with DestroySharedMutex.
KFRAMEWORK_API boost::shared_mutex* CreateSharedMutex();

/// As DestroyMutex.
KFRAMEWORK_API bool DestroySharedMutex(boost::shared_mutex* mutex);

/// Waits for exclusive use and takes it.
KFRAMEWORK_API void LockMutex(boost::shared_mutex* mutex);

/// Takes exclusive use when nobody else holds the mutex; never waits.
KFRAMEWORK_API bool TryLockMutex(boost::shared_mutex* mutex);

/// Gives exclusive use back.
KFRAMEWORK_API void UnlockMutex(boost::shared_mutex* mutex);

/// Waits for shared use and takes it.
KFRAMEWORK_API void LockSharedMutex(boost::shared_mutex* mutex);

/// Takes shared use unless someone holds the mutex exclusively or waits to; never waits.
KFRAMEWORK_API bool TryLockSharedMutex(boost::shared_mutex* mutex);

/// Gives shared use back.
KFRAMEWORK_API void UnlockSharedMutex(boost::shared_mutex* mutex);

/// A new condition variable.
///
/// @param mutex  used by every wait; stays the caller's and outlives the condition.
/// @owns    the caller frees it with DestroyConditional.
KFRAMEWORK_API KConditional* CreateConditional(boost::mutex* mutex);

/// Frees a condition variable that nobody waits on; its mutex stays.
///
/// @return  always true.
KFRAMEWORK_API bool DestroyConditional(KConditional* conditional);

/// Waits until signalled. The caller holds the mutex; it is free during the wait and the caller's again
/// afterwards.
///
/// @return  always true.
/// @kept    wait-spurious: the wait may end without a signal; the caller tests what it waits for, in a loop.
KFRAMEWORK_API bool WaitConditional(KConditional* conditional);

/// As WaitConditional, for a limited time. Setting the system's clock does not change the wait.
///
/// @param timeoutMs  in milliseconds; 0 and less do not wait.
/// @return  true when signalled (or woken without a signal), false when the time is over.
KFRAMEWORK_API bool WaitTimedConditional(KConditional* conditional, int timeoutMs);

/// Wakes one waiter.
///
/// @return  always true.
KFRAMEWORK_API bool SignalConditional(KConditional* conditional);

/// Wakes every waiter.
///
/// @return  always true.
KFRAMEWORK_API bool BroadcastSignalConditional(KConditional* conditional);

// --- pipes -----------------------------------------------------------------

/// Makes the pipes for one child: three, or two when standard error joins standard output.
///
/// @return  the set, or null with nothing left open.
/// @owns    the caller owns the set and every handle in it; see SpawnProcess and DeletePipes.
/// @threads any. A child started by another thread at this moment may inherit the child's ends and keep a
///          pipe from breaking until it ends itself; start children one at a time where that matters.
KFRAMEWORK_API KPipesHandles* CreatePipes(bool mergeStdErr);

/// Frees a pipe set, and closes the handles that are not null in it when told so.
///
/// @param pipes         null does nothing.
/// @param closeHandles  false when the caller has closed them one by one.
/// @kept    delete-pipes-order: stdinRead, stdoutWrite, stdoutRead, stdinWrite, stderrWrite, stderrRead.
KFRAMEWORK_API void DeletePipes(KPipesHandles* pipes, bool closeHandles);

/// Closes one pipe end. Set its field to null afterwards when the set is deleted with its handles later.
KFRAMEWORK_API void ClosePipeHandle(void* handle);

/// Writes into a pipe; waits while it is full.
///
/// @param size  bytes of data.
/// @return  bytes written, or -1 when the write fails, as it does when the other end is closed.
/// @threads any, one writer per handle at a time.
KFRAMEWORK_API int WritePipe(void* handle, const void* data, unsigned int size);

/// Reads what already waits in a pipe; never waits itself.
///
/// @param buffer  receives the bytes; no terminator is written.
/// @param size    room in buffer, in bytes; with 0 nothing can be read.
/// @return  bytes read, or -1 when nothing waits, the pipe is broken or the read fails; they are not told
///          apart.
/// @threads any, one reader per handle at a time.
/// @kept    read-pipe-room: when more than size bytes wait, only size - 1 are read; when exactly size wait,
///          all are. Make the buffer one byte larger than size to terminate what was read.
///
///   10 waiting, size 4  =>  3
///    4 waiting, size 4  =>  4
///    2 waiting, size 1  =>  0
KFRAMEWORK_API int ReadPipe(void* handle, void* buffer, unsigned int size);

/// Whether a pipe can still be asked: both ends are open, or data still waits in it.
///
/// @kept    peek-pipe-open: true says nothing about data; an open, empty pipe gives true.
KFRAMEWORK_API bool PeekPipe(void* handle);

/// Starts a thread that gathers what comes out of a pipe as UTF-8, until the pipe breaks or it is told to
/// stop.
///
/// @param handle         read end of a pipe; stays the caller's and stays open as long as the reader.
/// @param detectUnicode  0: everything is text in the system's code page. Otherwise each chunk that looks
///                       like UTF-16 is taken as that; the guess is the system's and may be wrong.
/// @return  the reader, never null. When its thread could not be started it just gathers nothing.
/// @owns    the caller: TerminatePipeReader, then DestroyPipeReader.
/// @kept    reader-ansi-cut: a chunk of narrow text, at most 16,380 bytes read at once, ends at its first
///          zero byte; what stands behind it in the chunk is lost.
/// @kept    reader-composite: an accented letter comes out as letter and combining accent (U+00E9 as 65 CC
///          81).
/// @kept    reader-halves: a character cut between two reads is converted as two halves.
KFRAMEWORK_API KPipeReader* CreatePipeReader(void* handle, int detectUnicode);

/// Takes everything gathered since the last call; empty when there is nothing new, and for null.
///
/// @threads any, until DestroyPipeReader.
KFRAMEWORK_API std::string PoolPipeReader(KPipeReader* reader);

/// Stops a reader's thread and waits for its end, usually at most 100 ms; at once when the pipe has broken.
/// What was gathered can still be taken. A second call does nothing. A thread that hangs for 10 s is called
/// off, then killed; the call takes at most 12 s. Where even that does not end the thread, reader->thread is not
/// null afterwards, and the reader may not be destroyed.
///
/// @param reader  null does nothing.
/// @param abort   which of the two flags is set; the thread treats them alike.
/// @threads the owner's, one call at a time.
/// @kept    reader-no-draining: the thread stops at its next check; what then waits in the pipe stays there.
///          Wait for CheckJoinableThread(reader->thread) first to get a child's output to its end.
KFRAMEWORK_API void TerminatePipeReader(KPipeReader* reader, bool abort);

/// Frees a reader and its text; its thread must have been joined by TerminatePipeReader. Null does nothing.
KFRAMEWORK_API void DestroyPipeReader(KPipeReader* reader);

// --- processes ---------------------------------------------------------------

/// Starts a program with a hidden window on a console of its own.
///
/// @param executable        UTF-8 path of the program.
/// @param arguments         UTF-8, passed on as they are behind the quoted path: what stands in them is
///                          trusted. Null is the same as "".
/// @param workingDirectory  UTF-8 path of the folder to start in.
/// @param pipes             becomes the child's standard handles; null for none. The child's ends are closed
///                          here and null afterwards, whether the child starts or not; the set stays the
///                          caller's.
/// @param environment       the child's environment, whole; null to inherit the caller's. See
///                          GetEnvironmentWideString for non-ASCII text.
/// @param errorCode         the system's error code on failure; untouched on success. A missing path or
///                          folder is 87 (invalid parameter).
/// @param errorText         see spawn-error-text; untouched on success.
/// @param userToken         a user the calling thread acts as during the start; null for none. Whether that
///                          was granted is not checked: the child runs under the caller's account in any
///                          case.
/// @return  the child, or null.
/// @owns    the caller owns the record and frees it with CloseProcess; the token stays the caller's.
/// @threads any, also at once; see CreatePipes on what children inherit.
/// @kept    command-line-cut: the command line shows the first 260 bytes of the path, in quotes, and the
///          first 32,504 bytes of the arguments; the program is started from the whole path.
/// @kept    spawn-inherits: inheritable handles are always inherited, also without pipes.
/// @kept    spawn-flags: the creation flags are 0x4000430.
/// @kept    spawn-error-text: the first character of the system's message, without its first "\n" and "\r".
KFRAMEWORK_API KProcess* SpawnProcess(const char* executable, const char* arguments,
                                      const char* workingDirectory, KPipesHandles* pipes,
                                      KClientLib::KEnvironment* environment, int& errorCode,
                                      std::string& errorText, void* userToken);

/// Looks whether a child has ended, or waits for that.
///
/// @param wait            false: answer at once, whatever the time-out.
/// @param timeoutSeconds  0 waits without limit. Whole seconds of the system clock: 3 ends a wait after 2 to
///                        3.5 seconds. A negative number has passed already.
/// @param exitCode        the child's code, 259 while it runs, 0 when it cannot be asked.
/// @return  0 running, 1 ended or cannot be asked, 2 time-out.
/// @threads any.
/// @kept    wait-time-out-first: the time-out is asked before the end; a child that ends in the second of the
///          time-out may count as timed out.
KFRAMEWORK_API int WaitProcess(KProcess* process, bool wait, int timeoutSeconds, unsigned long& exitCode);

/// Ends a process by its id, at once and without a chance to tidy up. Nothing happens when it cannot be
/// opened.
///
/// @param process  its record stays; null does nothing.
/// @kept    terminate-code: the process ends with code 0, as if it had succeeded.
/// @kept    terminate-tree: the flag has no meaning; processes it has started go on.
KFRAMEWORK_API void TerminateProcess(KProcess* process, bool ignored);
KFRAMEWORK_API void TerminateProcess(unsigned long pid, bool ignored);

/// Closes a child's two handles and frees its record; the child goes on, the pipe set stays.
///
/// @return  true when both handles closed; false for null.
KFRAMEWORK_API bool CloseProcess(KProcess* process);

/// No record can be made for a process that was started elsewhere; use TerminateProcess by id.
///
/// @kept    process-from-pid: null for every id.
KFRAMEWORK_API KProcess* ProcessFromPid(unsigned long pid);

/// A child's process id; 0 for null.
KFRAMEWORK_API unsigned long GetProcessPid(KProcess* process);

/// The calling process's id.
KFRAMEWORK_API unsigned long GetCurrentProcessPid();

/// Splits a command line into words at blanks and tabs. Double quotes hold them together, \" is a literal
/// quote, any other backslash is just that.
///
/// @param commandLine  null is the same as "".
/// @return  the words, ended by a null pointer; DestroyArray frees them.
/// @kept    arguments-closing-quote: a closing quote ends the word at once, even an empty one.
/// @kept    arguments-literal-quote: \" begins no word; one that stands alone is carried into the next word.
/// @kept    arguments-unclosed-quote: text in an unclosed quote is dropped unless its word began before the
///          quote.
/// @kept    arguments-most-words: no more than 32,767 words.
///
///   "x y" z    =>  x y, z
///   ab"cd"     =>  abcd
///   "ab"cd     =>  ab, cd
///   ""         =>  one empty word
///   \" q       =>  "q
///   "open      =>  no word
KFRAMEWORK_API char** CreateArgumentsArray(const char* commandLine);

/// Frees what CreateArgumentsArray or BuildEnvironmentArray gave; null does nothing.
KFRAMEWORK_API void DestroyArray(char** array);

/// The table as "name=value" texts in its order, ended by a null pointer; entries without a name included.
///
/// @return  null for no table. DestroyArray frees it.
KFRAMEWORK_API char** BuildEnvironmentArray(KClientLib::KEnvironment* environment);

/// The table as one narrow block: "name=value" and a zero byte for each entry, and a last zero byte.
///
/// @return  null for no table. The caller frees it with free().
/// @kept    environment-case: names are told apart by case and ordered by their bytes; PATH and Path are two.
/// @kept    environment-empty-name: an entry without a name is left out, but the block has room for it.
KFRAMEWORK_API char* GetEnvironmentAnsiString(KClientLib::KEnvironment* environment);

/// The table as one block of 16-bit units, as the system takes it. Keep names and values in ASCII.
///
/// @return  null for no table. The caller frees it with free().
/// @kept    environment-wide-layout: every text takes as many units as it has UTF-8 bytes. Behind a non-ASCII
///          text that leaves zeros, which the system reads as the end of an entry or of the whole block.
///
///   A=1                  =>  41 3D 31 0 0
///   A=U+00E9 (2 bytes)   =>  41 3D E9 0 0 0
KFRAMEWORK_API void* GetEnvironmentWideString(KClientLib::KEnvironment* environment);

/// Runs a batch file in the table's environment and takes over the variables it leaves set. Waits for the
/// shell's end, and for nothing it may have left running.
///
/// @param environment  also what the shell starts with. Null gives false.
/// @param batchFile    UTF-8 path; trusted text, it is part of the shell's command line.
/// @param errorText    SpawnProcess's text when the shell could not be started; otherwise untouched.
/// @return  true when the shell ran, whatever the batch file did; a shell that ends early merges nothing.
/// @threads any, but no two calls on one table.
/// @kept    merge-shell-twice: the shell's path stands twice on its command line.
/// @kept    merge-keeps-return: values end with the "\r" that the shell prints before each "\n".
/// @kept    merge-leaks-handles: each call leaves the shell's process and thread handle open.
KFRAMEWORK_API bool MergeEnvironmentWithBatFile(KClientLib::KEnvironment* environment,
                                                const std::string& batchFile, std::string& errorText);
} // namespace KFramework::KProcesses

#include "KFramework/process_tree.h"
#include "KFramework/process_users.h"
#include "KFramework/process_windows.h"
