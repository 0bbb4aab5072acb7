#include <KFramework/socket.h> // before <windows.h>

#include "renderer_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>
#include <KFramework/string.h>

#include <algorithm>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr int kLastOutputWaitMs = 2000;

bool is_ascii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Our own environment. Variables that are not plain ASCII are left out: the block
/// that the library builds for a child would end at them.
KClientLib::KEnvironment own_environment()
{
    KClientLib::KEnvironment environment;
    wchar_t* const block = ::GetEnvironmentStringsW();
    for (wchar_t* entry = block; entry != nullptr && *entry != L'\0'; entry += std::wstring(entry).size() + 1)
    {
        const std::string text = KStringHelper::WideStringToUtf8String(entry);
        const auto equals = text.find('=');
        if (equals != std::string::npos && equals > 0 && is_ascii(text)) // "=C:=C:\folder" is cmd's own
            environment.variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    ::FreeEnvironmentStringsW(block);
    return environment;
}

std::string arguments_for(const job& whole, const order& work)
{
    return "--frame " + std::to_string(work.frame) + " --width " + std::to_string(whole.width) +
           " --height " + std::to_string(whole.height) + " --mask \"" + work.mask + "\"";
}
} // namespace

renderer::renderer(const std::string& program, const job& whole, const order& work, const scheduling& how)
    : pipes_(KProcesses::CreatePipes(true)), process_(nullptr)
{
    if (pipes_ == nullptr)
    {
        error_ = "no pipes";
        return;
    }
    KClientLib::KEnvironment environment = own_environment();
    environment.variables["FARM_FRAMES"] = std::to_string(whole.frame_count);
    int code = 0;
    std::string text;
    process_ = KProcesses::SpawnProcess(program.c_str(), arguments_for(whole, work).c_str(),
                                        KFileSystem::GetFilePath(program).c_str(), pipes_, &environment, code,
                                        text, nullptr);
    if (process_ == nullptr)
    {
        error_ = "error " + std::to_string(code);
        return;
    }
    schedule(how);
    KProcesses::ClosePipeHandle(pipes_->stdinWrite); // nothing to say to it
    pipes_->stdinWrite = nullptr;
    reader_ = KProcesses::CreatePipeReader(pipes_->stdoutRead, 0);
}

renderer::~renderer()
{
    if (process_ != nullptr)
    {
        if (!exit_code())
            end_tree();
        KProcesses::CloseProcess(process_);
    }
    if (reader_ != nullptr)
    {
        KProcesses::TerminatePipeReader(reader_, false);
        KProcesses::DestroyPipeReader(reader_);
    }
    if (pipes_ != nullptr)
        KProcesses::DeletePipes(pipes_, true);
}

void renderer::schedule(const scheduling& how)
{
    KProcesses::SetProcessPriority(id(), how.priority);
    if (how.processors != 0)
        KProcesses::SetProcessAffinityMask(how.processors, id()); // what it starts inherits them
}

void renderer::end_tree()
{
    KProcesses::KProcessTreeNode* tree = nullptr;
    if (KProcesses::CreateProcTreeSnapshot(id(), &tree)) // the id is its own while we hold its handle
        KProcesses::TerminateProcTree(tree, false);
    KProcesses::DestroyProcTree(tree);
    KProcesses::TerminateProcess(process_, false); // when there was no tree
}

std::optional<unsigned long> renderer::exit_code()
{
    unsigned long code = 0;
    if (KProcesses::WaitProcess(process_, false, 0, code) == 0)
        return std::nullopt;
    return code;
}

std::vector<std::string> renderer::new_lines(bool ended)
{
    if (ended) // the reader ends by itself once the pipe is broken; what it gathered until then is all
        for (int waited = 0;
             waited < kLastOutputWaitMs && KProcesses::CheckJoinableThread(reader_->thread) == 0;
             waited += 10)
            MicroSleep(10);
    unfinished_ += KProcesses::PoolPipeReader(reader_);
    std::vector<std::string> lines = KStringHelper::TokenizeStringNoStripe(unfinished_, "\n");
    unfinished_ = lines.back();
    lines.pop_back();
    if (ended && !unfinished_.empty())
        lines.push_back(std::exchange(unfinished_, ""));
    if (unfinished_.size() > kLongestOutputLine)
        unfinished_.resize(kLongestOutputLine); // nobody wants more of a line, and some never end
    for (std::string& line : lines)
        KStringHelper::TrimCR(line);
    return lines;
}
} // namespace farm
