// tidewell large: the largest files of the home folder, biggest first.
#include "cli/ByteCount.h"
#include "cli/Command.h"
#include "cli/CommandPaths.h"
#include "cli/JsonRecords.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"
#include "cli/UnreadableFolders.h"

#include "Core/junk/LargeFileFinder.h"

#include <cstdio>
#include <iostream>

namespace tidewell {
namespace {

// Gathers what the finder reports, on the main queue, and drives the progress line.
class LargeFileReport final : public core::LargeFileFinderDelegate {
public:
    explicit LargeFileReport(bool quiet) : progress(quiet) {}

    void largeFileScanning(const core::URL& url) override { progress.setCurrent(url.path()); }
    void largeFilesFound(const std::vector<core::File>& found) override {
        files = found;
        completion.mark();
    }

    ProgressLine progress;
    std::vector<core::File> files;
    ScanCompletion completion;
};

class LargeCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("large", "the largest files of the home folder, biggest first");
        sub->add_option("--min-size", minSize_,
                        "smallest size listed, in bytes or with K, M, G (default 50M)");
        sub->add_option("--exclude", excluded_, "leave this path out")->allow_extra_args(false)->take_all();
        return sub;
    }

    int run(const GlobalOptions& options) override {
        auto minimum = parseByteCount(minSize_);
        UnreadableFolders unreadable;
        auto report = std::make_shared<LargeFileReport>(options.quiet);
        auto finder = core::LargeFileFinder::make();
        finder->delegate = report;
        finder->exclubeFilesUrls = commandLineURLs(excluded_);
        finder->start(minimum);
        report->completion.wait();
        report->progress.finish();
        if (options.json) {
            std::cout << toJsonArray(report->files).dump(2) << '\n';
            return 0;
        }
        std::int64_t total = 0;
        for (const auto& file : report->files) {
            std::printf("%10s  %s\n", file.sizeString().c_str(), printable(file.url.path()).c_str());
            total += file.size;
        }
        std::cout << counted(report->files.size(), "file") << ", " << core::sizeString(total) << '\n';
        unreadable.printSummary(std::cout);
        return 0;
    }

private:
    std::string minSize_ = "50M";
    std::vector<std::string> excluded_;
};

} // namespace

std::unique_ptr<Command> makeLargeCommand() {
    return std::make_unique<LargeCommand>();
}

} // namespace tidewell
