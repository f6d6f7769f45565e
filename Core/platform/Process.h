// Running a command and reading what it prints, for the few services that are programs. Commands
// are named by the paths the library knows them by ("/usr/bin/mdfind", "/bin/launchctl"); a
// command table maps such a path to the program that does the job here, so that tests can put
// scripts in their place.
//
// Threading: safe from any thread; taskSyncRunner blocks its caller until the child closes its
// output.
#pragma once

#include <string>
#include <vector>

namespace core {

class CommandTable {
public:
    static CommandTable& shared();
    // The program to run for a command path: its replacement if one is set, else the path itself.
    std::string resolve(const std::string& command) const;
    // An empty replacement removes it.
    void setReplacement(const std::string& command, std::string program);
};

// The standard output of the command, as text; empty when it cannot be started or prints no valid
// UTF-8.
std::string taskSyncRunner(const std::string& command, const std::vector<std::string>& args);

// Runs the command and waits for it to end: its exit status (128 and the signal's number when a
// signal ended it), or -1 when it could not be started.
int runCommand(const std::string& command, const std::vector<std::string>& args);

// Starts the command without waiting for it; it is reaped in the background when it ends. False
// when it could not be started.
bool launchCommand(const std::string& command, const std::vector<std::string>& args);

} // namespace core
