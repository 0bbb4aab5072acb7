#pragma once
/// The farm's worker: takes orders, runs the renderer, reports.

#include "scheduling.h"
#include "secret.h"

#include <string>

namespace farm
{
struct worker_settings
{
    std::string server = "127.0.0.1";
    int port = 0;
    std::string name = "worker";
    std::string renderer;
    scheduling renderer_scheduling;
    std::string log_folder;
    int silence_seconds = 10;
};

/// Works for the server until it says farewell or goes away, unless it refuses. Gives the program's exit code.
int work(const worker_settings& settings, secret password);
} // namespace farm
