// tidewell dupes: groups of identical files, packages and folders below the given folders.
#include "cli/ByteCount.h"
#include "cli/Command.h"
#include "cli/JsonRecords.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"

#include "Core/duplicates/DuplicateFileFinder.h"
#include "Core/platform/Dispatch.h"

#include <cstdio>
#include <filesystem>
#include <iostream>

namespace tidewell {
namespace {

nlohmann::json groupsJson(const core::DuplicateGroups& groups) {
    auto array = nlohmann::json::array();
    for (const auto& group : groups) {
        auto members = nlohmann::json::array();
        for (const auto& duplicate : group)
            members.push_back(toJson(core::fileOf(duplicate)));
        array.push_back(members);
    }
    return array;
}

class DupesReport final : public core::DuplicateFileFinderDelegate {
public:
    explicit DupesReport(bool quiet) : progress(quiet) {}
    void duplicateFileFinderCurrent(const core::URL& url) override { progress.setCurrent(url.path()); }
    void duplicateFileFinderProgress(double value) override { progress.setFraction(value); }
    void duplicateFileFinderCompleted(const core::DuplicateGroups& found,
                                      const core::DuplicateGroups& alike) override {
        duplicates = found;
        similar = alike;
        completion.mark();
    }

    ProgressLine progress;
    core::DuplicateGroups duplicates, similar;
    ScanCompletion completion;
};

class DupesCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub =
            app.add_subcommand("dupes", "identical files, packages and folders below the given folders");
        sub->add_option("folders", folders_, "folders to search")->required();
        sub->add_option("--min-size", minSize_, "smallest file size of interest, in bytes or with K, M, G");
        sub->add_option("--exclude-path", excludedPaths_, "leave this folder out")
            ->allow_extra_args(false)
            ->take_all();
        sub->add_option("--exclude-ext", excludedExtensions_, "leave out names ending in this text")
            ->allow_extra_args(false)
            ->take_all();
        sub->add_flag("--hidden", hidden_, "also enter folders whose name begins with a dot");
        sub->add_flag("--only-duplicates", onlyDuplicates_, "no search for similar images");
        return sub;
    }

    int run(const GlobalOptions& options) override {
        std::vector<core::URL> roots, excluded;
        for (const auto& folder : folders_) {
            std::error_code error;
            if (!std::filesystem::is_directory(folder, error))
                throw UsageError("not a folder: " + folder);
            roots.push_back(
                core::URL::fileURL(std::filesystem::absolute(folder).lexically_normal().string()));
        }
        for (const auto& path : excludedPaths_)
            excluded.push_back(
                core::URL::fileURL(std::filesystem::absolute(path).lexically_normal().string()));
        auto report = std::make_shared<DupesReport>(options.quiet);
        auto finder = core::DuplicateFileFinder::shared();
        finder->delegate = report;
        finder->setRootFolderURLs(roots);
        finder->setExcludePaths(excluded);
        finder->setExcludeExtensions(excludedExtensions_);
        finder->setIncludeHiddenFolders(hidden_);
        finder->setMinFileSize(parseByteCount(minSize_));
        finder->start(onlyDuplicates_);
        report->completion.wait();
        report->progress.finish();
        if (options.json) {
            std::cout << nlohmann::json{{"duplicates", groupsJson(report->duplicates)},
                                        {"similar", groupsJson(report->similar)}}
                             .dump(2)
                      << '\n';
            return 0;
        }
        printHuman(report->duplicates);
        return 0;
    }

private:
    static void printHuman(const core::DuplicateGroups& groups) {
        std::int64_t reclaimable = 0;
        for (const auto& group : groups) {
            if (group.empty())
                continue;
            const auto& first = core::fileOf(group.front());
            reclaimable += core::bytesFreedByRemovingAllButFirst(group);
            std::cout << group.size() << " x " << first.sizeString() << '\n';
            for (const auto& duplicate : group)
                std::cout << "  " << printable(core::fileOf(duplicate).url.path()) << '\n';
        }
        std::cout << counted(groups.size(), "group") << "; removing all but one of each frees "
                  << core::sizeString(reclaimable) << '\n';
    }

    std::vector<std::string> folders_, excludedPaths_, excludedExtensions_;
    std::string minSize_ = "0";
    bool hidden_ = false;
    bool onlyDuplicates_ = false;
};

} // namespace

std::unique_ptr<Command> makeDupesCommand() {
    return std::make_unique<DupesCommand>();
}

} // namespace tidewell
