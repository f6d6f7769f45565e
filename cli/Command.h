// What every subcommand of tidewell shares: the global options, and the way a subcommand attaches
// itself to the command line and runs.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tidewell {

struct GlobalOptions {
    std::string root = "/";
    std::string home;
    std::string resources;
    std::string analyticsLog;
    bool json = false;
    bool quiet = false;
};

// Bad input found after parsing: reported as one line on stderr with exit code 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Command {
public:
    virtual ~Command() = default;
    // Adds the subcommand and its options to the application.
    virtual CLI::App* attach(CLI::App& app) = 0;
    // Runs the parsed subcommand; the exit code.
    virtual int run(const GlobalOptions& options) = 0;
};

std::unique_ptr<Command> makeJunkCommand();
std::unique_ptr<Command> makeSizeCommand();
std::unique_ptr<Command> makeLargeCommand();
std::unique_ptr<Command> makeRulesCommand();
std::unique_ptr<Command> makeOrgCommand();
std::unique_ptr<Command> makeAppsCommand();
std::unique_ptr<Command> makeAppFilesCommand();
std::unique_ptr<Command> makeLeftoversCommand();
std::unique_ptr<Command> makeDupesCommand();
std::unique_ptr<Command> makeDeleteCommand();

} // namespace tidewell
