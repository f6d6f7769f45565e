// tidewell: the command-line front end that drives Core as the desktop application would.
#include "cli/Command.h"
#include "cli/JsonLinesAnalytics.h"
#include "cli/Terminal.h"

#include "Core/platform/SystemPaths.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace {

using tidewell::UsageError;

void requireFolder(const std::string& path, const std::string& what) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error))
        throw UsageError(what + " is not a folder: " + path);
}

void requireReadableFolder(const std::string& path, const std::string& what) {
    requireFolder(path, what);
    std::error_code error;
    std::filesystem::directory_iterator probe(path, error);
    if (error)
        throw UsageError(what + " cannot be read: " + path + ": " + error.message());
}

std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

// Applies the global options to the process: where "/" and the home folder are, and where
// diagnostics go.
void applyGlobalOptions(tidewell::GlobalOptions& options) {
    requireFolder(options.root, "the root");
    if (options.home.empty()) {
        const char* home = std::getenv("HOME");
        options.home = home ? home : "/";
    }
    requireFolder(options.home, "the home folder");
    if (!options.resources.empty()) {
        requireReadableFolder(options.resources, "the resources folder");
        core::SystemPaths::shared().setResourcesDirectory(absolute(options.resources));
    }
    core::SystemPaths::shared().configure(absolute(options.root), absolute(options.home));
    if (!options.analyticsLog.empty())
        core::setAnalytics(std::make_shared<tidewell::JsonLinesAnalytics>(options.analyticsLog));
}

// Extras are let through the parser so that a word it does not know is named here, as an
// unknown command when it stands where the command belongs.
void requireOneKnownCommand(const CLI::App& app) {
    auto remaining = app.remaining();
    bool commandGiven = !app.get_subcommands().empty();
    if (!remaining.empty()) {
        const auto& first = remaining.front();
        if (commandGiven || first.starts_with("-"))
            throw UsageError("unexpected argument: " + first);
        throw UsageError("unknown command: " + first);
    }
    if (!commandGiven)
        throw UsageError("a command is required; tidewell --help lists them");
}

// Every failure is one line on stderr, whatever bytes the message carries.
int reportBadInput(const std::string& message) {
    std::cerr << "tidewell: " << tidewell::printable(message) << '\n';
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"tidewell: finds junk, sizes and duplicates, and cleans them up"};
    app.require_subcommand(0, 1);
    app.fallthrough();
    tidewell::GlobalOptions options;
    app.add_option("--root", options.root, "folder that stands for / (a mounted macOS volume, a test tree)");
    app.add_option("--home", options.home, "the user's home folder (default $HOME)");
    app.add_option("--resources", options.resources, "folder the resource documents are read from");
    app.add_flag("--json", options.json, "machine output on stdout");
    app.add_option("--analytics-log", options.analyticsLog, "append each diagnostic as a JSON line to FILE");
    app.add_flag("--quiet", options.quiet, "no progress");

    std::vector<std::pair<std::unique_ptr<tidewell::Command>, CLI::App*>> commands;
    for (auto make : {tidewell::makeJunkCommand, tidewell::makeLargeCommand, tidewell::makeSizeCommand,
                      tidewell::makeRulesCommand, tidewell::makeOrgCommand, tidewell::makeAppsCommand,
                      tidewell::makeAppFilesCommand, tidewell::makeLeftoversCommand,
                      tidewell::makeDupesCommand, tidewell::makeDeleteCommand}) {
        auto command = make();
        auto* sub = command->attach(app);
        commands.emplace_back(std::move(command), sub);
    }
    app.allow_extras();

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForAllHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return reportBadInput(error.what());
    }

    try {
        requireOneKnownCommand(app);
        applyGlobalOptions(options);
        for (auto& [command, sub] : commands)
            if (sub->parsed())
                return command->run(options);
    } catch (const UsageError& error) {
        return reportBadInput(error.what());
    }
    return 2;
}
