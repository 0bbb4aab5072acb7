#pragma once
/// A renderer that a worker runs: started with pipes, watched, ended.

#include <KFramework/process.h>

#include "job.h"
#include "protocol.h"
#include "scheduling.h"

#include <optional>
#include <string>
#include <vector>

namespace farm
{
class renderer
{
public:
    /// Starts `program` for one frame of a job; `started()` tells whether it runs.
    renderer(const std::string& program, const job& whole, const order& work, const scheduling& how);

    /// Ends the program if it still runs, with everything it has started, and closes everything.
    ~renderer();
    renderer(const renderer&) = delete;
    renderer& operator=(const renderer&) = delete;

    bool started() const { return process_ != nullptr; }

    /// Its process id; only once started.
    unsigned long id() const { return process_->processId; }

    /// Why the program could not be started.
    const std::string& error() const { return error_; }

    /// Its exit code once it has ended, none while it runs; never waits.
    std::optional<unsigned long> exit_code();

    /// The whole lines that it has written since the last call; with `ended` also the unfinished last one.
    std::vector<std::string> new_lines(bool ended);

private:
    void schedule(const scheduling& how);
    void end_tree();

    KFramework::KProcesses::KPipesHandles* pipes_;
    KFramework::KProcesses::KProcess* process_;
    KFramework::KProcesses::KPipeReader* reader_ = nullptr;
    std::string error_;
    std::string unfinished_; // output after the last line break
};
} // namespace farm
