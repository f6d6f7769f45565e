#include "Core/platform/Process.h"

#include "Core/platform/Text.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace core {
namespace {

std::mutex tableMutex;
std::map<std::string, std::string> replacements;

// Starts `command` (through the table) with `args`; the child's id, or absent when it could not
// be started.
std::optional<pid_t> spawnChild(const std::string& command, const std::vector<std::string>& args,
                                const posix_spawn_file_actions_t* actions) {
    std::string program = CommandTable::shared().resolve(command);
    std::vector<char*> argv = {program.data()};
    std::vector<std::string> copies(args);
    for (auto& arg : copies)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, program.c_str(), actions, nullptr, argv.data(), environ) != 0)
        return std::nullopt;
    return child;
}

TaskStatus endingOf(int waitStatus) {
    TaskStatus status;
    if (WIFEXITED(waitStatus)) {
        status.ending = TaskStatus::Ending::exited;
        status.code = WEXITSTATUS(waitStatus);
    } else if (WIFSIGNALED(waitStatus)) {
        status.ending = TaskStatus::Ending::signalled;
        status.code = WTERMSIG(waitStatus);
    }
    return status;
}

TaskStatus waitForExit(pid_t child) {
    int waitStatus = 0;
    pid_t waited = 0;
    while ((waited = ::waitpid(child, &waitStatus, 0)) < 0 && errno == EINTR) {
    }
    return waited == child ? endingOf(waitStatus) : TaskStatus();
}

} // namespace

CommandTable& CommandTable::shared() {
    static CommandTable table;
    return table;
}

std::string CommandTable::resolve(const std::string& command) const {
    std::lock_guard lock(tableMutex);
    auto found = replacements.find(command);
    return found == replacements.end() ? command : found->second;
}

void CommandTable::setReplacement(const std::string& command, std::string program) {
    std::lock_guard lock(tableMutex);
    if (program.empty())
        replacements.erase(command);
    else
        replacements[command] = std::move(program);
}

std::string taskSyncRunner(const std::string& command, const std::vector<std::string>& args) {
    TaskStatus ignored;
    return taskSyncRunner(command, args, ignored);
}

std::string taskSyncRunner(const std::string& command, const std::vector<std::string>& args,
                           TaskStatus& status) {
    status = TaskStatus();
    int pipeEnds[2];
    if (::pipe2(pipeEnds, O_CLOEXEC) != 0)
        return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    auto child = spawnChild(command, args, &actions);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeEnds[1]);
    std::string output;
    if (child) {
        char buffer[8192];
        for (ssize_t got; (got = ::read(pipeEnds[0], buffer, sizeof buffer)) != 0;) {
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                break;
            output.append(buffer, static_cast<std::size_t>(got));
        }
        status = waitForExit(*child);
    }
    ::close(pipeEnds[0]);
    status.outputIsText = isValidUtf8(output);
    return status.outputIsText ? output : std::string();
}

TaskStatus runCommand(const std::string& command, const std::vector<std::string>& args) {
    auto child = spawnChild(command, args, nullptr);
    return child ? waitForExit(*child) : TaskStatus();
}

bool launchCommand(const std::string& command, const std::vector<std::string>& args) {
    auto child = spawnChild(command, args, nullptr);
    if (!child)
        return false;
    std::thread([pid = *child] { waitForExit(pid); }).detach();
    return true;
}

} // namespace core
