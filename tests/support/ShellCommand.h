// Runs a command line through the shell as a child process, the way a user or a script runs the
// front end, and gathers what it printed on standard output.
#pragma once

#include <string>

namespace core::testing {

struct ShellOutcome {
    // -1 when the process did not exit normally.
    int exitCode;
    std::string out;
};

ShellOutcome runShellCommand(const std::string& command);

} // namespace core::testing
