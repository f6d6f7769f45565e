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
#include <functional>
#include <iostream>
#include <string_view>

namespace tidewell {
namespace {

// Writes `text` with every line after the first indented by `indent`. JSON text holds no raw line breaks
// inside strings, so every break is one of the layout's.
void writeIndented(std::ostream& out, std::string_view text, std::string_view indent) {
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
        out << text.substr(0, end + 1) << indent;
    out << text;
}

// The groups as a JSON array, laid out as dump(2) lays out a document's second level, written as
// it goes: a large search finds tens of thousands of files, and a document of them all, with its
// text, would raise the command's peak memory above the search's own.
void writeGroups(std::ostream& out, const core::DuplicateGroups& groups) {
    out << '[';
    const char* groupSeparator = "\n    [";
    for (const auto& group : groups) {
        out << groupSeparator;
        const char* memberSeparator = "\n      ";
        for (const auto& duplicate : group) {
            out << memberSeparator;
            writeIndented(out, toJson(core::fileOf(duplicate)).dump(2), "      ");
            memberSeparator = ",\n      ";
        }
        out << (group.empty() ? "]" : "\n    ]");
        groupSeparator = ",\n    [";
    }
    out << (groups.empty() ? "]" : "\n  ]");
}

void writeJson(std::ostream& out, const core::DuplicateGroups& duplicates,
               const core::DuplicateGroups& similar) {
    out << "{\n  \"duplicates\": ";
    writeGroups(out, duplicates);
    out << ",\n  \"similar\": ";
    writeGroups(out, similar);
    out << "\n}\n";
}

// Hands the groups to `write` as they arrive, rather than keeping a copy of them for later.
class DupesReport final : public core::DuplicateFileFinderDelegate {
public:
    using Writer =
        std::function<void(const core::DuplicateGroups& found, const core::DuplicateGroups& alike)>;
    DupesReport(bool quiet, Writer write) : progress(quiet), write_(std::move(write)) {}
    void duplicateFileFinderCurrent(const core::URL& url) override { progress.setCurrent(url.path()); }
    void duplicateFileFinderProgress(double value) override { progress.setFraction(value); }
    void duplicateFileFinderCompleted(const core::DuplicateGroups& found,
                                      const core::DuplicateGroups& alike) override {
        progress.finish();
        write_(found, alike);
        completion.mark();
    }

    ProgressLine progress;
    ScanCompletion completion;

private:
    Writer write_;
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
        auto report = std::make_shared<DupesReport>(
            options.quiet,
            [json = options.json](const core::DuplicateGroups& found, const core::DuplicateGroups& alike) {
                if (json)
                    writeJson(std::cout, found, alike);
                else
                    printHuman(found);
            });
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
