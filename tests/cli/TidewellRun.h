// Runs the real tidewell binary as a child process, as a user or a script would, for the front
// end's test files.
#pragma once

#include <string>

namespace core::testing {

struct Run {
    int exitCode;
    std::string out;
};

std::string shellQuoted(const std::string& text);
// tidewell with the arguments (already quoted), stderr to the given file.
Run runTidewell(const std::string& arguments, const std::string& stderrPath = "/dev/null");
// The whole content of a file; empty when it cannot be read.
std::string slurp(const std::string& path);

} // namespace core::testing
