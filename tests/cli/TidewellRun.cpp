#include "tests/cli/TidewellRun.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

namespace core::testing {

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char byte : text)
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    return quoted + "'";
}

Run runTidewell(const std::string& arguments, const std::string& stderrPath) {
    std::string command = std::string(TIDEWELL_PATH) + " " + arguments + " 2>" + shellQuoted(stderrPath);
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string out;
    std::array<char, 4096> buffer{};
    while (std::size_t read = std::fread(buffer.data(), 1, buffer.size(), pipe))
        out.append(buffer.data(), read);
    int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace core::testing
