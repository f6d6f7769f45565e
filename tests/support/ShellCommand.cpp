#include "tests/support/ShellCommand.h"

#include <array>
#include <cstdio>
#include <sys/wait.h>

namespace core::testing {

ShellOutcome runShellCommand(const std::string& command) {
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return {-1, {}};
    std::string out;
    std::array<char, 4096> buffer{};
    while (std::size_t read = std::fread(buffer.data(), 1, buffer.size(), pipe))
        out.append(buffer.data(), read);
    int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

} // namespace core::testing
