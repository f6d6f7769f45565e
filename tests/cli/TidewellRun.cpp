#include "tests/cli/TidewellRun.h"
#include "tests/support/ShellCommand.h"

#include <fstream>
#include <iterator>

namespace core::testing {

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char byte : text)
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    return quoted + "'";
}

Run runTidewell(const std::string& arguments, const std::string& stderrPath) {
    auto outcome = runShellCommand(std::string(TIDEWELL_PATH) + " " + arguments + " 2>" + shellQuoted(stderrPath));
    return {outcome.exitCode, outcome.out};
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace core::testing
