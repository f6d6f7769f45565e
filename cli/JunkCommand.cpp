// tidewell junk: runs the junk scan as the application would and reports every category.
#include "cli/Command.h"
#include "cli/CommandPaths.h"
#include "cli/JsonBytes.h"
#include "cli/JsonRecords.h"
#include "cli/Resources.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"
#include "cli/UnreadableFolders.h"

#include "Core/foundation/SizeString.h"
#include "Core/junk/JunkFileFinder.h"

#include <atomic>
#include <iostream>
#include <set>
#include <sstream>

namespace tidewell {
namespace {

using core::File;

// The twelve switches by the names the library gives them.
const std::vector<std::pair<std::string, bool core::JunkFileFinderConfig::*>> configFields = {
    {"systemCaches", &core::JunkFileFinderConfig::systemCaches},
    {"systemLogs", &core::JunkFileFinderConfig::systemLogs},
    {"dmgFiles", &core::JunkFileFinderConfig::dmgFiles},
    {"trashFiles", &core::JunkFileFinderConfig::trashFiles},
    {"purgeableSpace", &core::JunkFileFinderConfig::purgeableSpace},
    {"appCaches", &core::JunkFileFinderConfig::appCaches},
    {"appLogs", &core::JunkFileFinderConfig::appLogs},
    {"xcode", &core::JunkFileFinderConfig::xcode},
    {"internetCaches", &core::JunkFileFinderConfig::internetCaches},
    {"downloadsFiles", &core::JunkFileFinderConfig::downloadsFiles},
    {"screenshotFiles", &core::JunkFileFinderConfig::screenshotFiles},
    {"mailDownloadsFiles", &core::JunkFileFinderConfig::mailDownloadsFiles},
};

core::JunkFileFinderConfig parseOnly(const std::string& names) {
    core::JunkFileFinderConfig config{};
    for (auto& [name, field] : configFields)
        config.*field = names.empty();
    std::stringstream list(names);
    std::string name;
    while (std::getline(list, name, ',')) {
        auto found = std::find_if(configFields.begin(), configFields.end(),
                                  [&](const auto& entry) { return entry.first == name; });
        if (found == configFields.end())
            throw UsageError("unknown junk category: " + name);
        config.*(found->second) = true;
    }
    return config;
}

// Gathers what the scan reports, on the main queue, and drives the progress line.
class JunkReport final : public core::JunkFileFinderDelegate {
public:
    explicit JunkReport(bool quiet) : progress(quiet) {}

    void scanningFile(const core::URL& url) override { progress.setCurrent(url.path()); }
    void progressChanged(double value) override { progress.setFraction(value); }
    void systemCacheFound(const File& file) override { systemCaches.push_back(file); }
    void systemLogFound(const File& file) override { systemLogs.push_back(file); }
    void trashFileFound(const File& file) override { trash.push_back(file); }
    void screenshotScanSkipped() override { screenshotsSkipped = true; }
    void diskImagesFound(const std::vector<File>& files) override {
        diskImages.insert(diskImages.end(), files.begin(), files.end());
    }
    void macAppJunkFound(const core::MacAppJunkFile& junk) override { appJunk.push_back(junk); }
    void appJunkFound(const core::CaseInsensitiveString& id,
                      const std::vector<core::AppFile>& files) override {
        orphanJunk.push_back({id, files});
    }
    void macAppExtraJunkFound(const core::MacAppJunkFile& junk) override { appExtraJunk.push_back(junk); }
    void purgeableSpaceFound(const File& file) override { purgeable.push_back(file); }
    void downloadFileFound(const File& file) override { downloads.push_back(file); }
    void screenshotFound(const File& file) override { screenshots.push_back(file); }
    void mailDownloadFound(const File& file) override { mailDownloads.push_back(file); }
    void junkScanCompleted() override { completion.mark(); }

    nlohmann::json json() const;
    // Mentions skipped screenshots only when they were asked for.
    void printHuman(bool screenshotsAsked) const;

    ProgressLine progress;
    std::vector<File> systemCaches, systemLogs, trash, diskImages, purgeable, downloads, screenshots,
        mailDownloads;
    std::vector<core::MacAppJunkFile> appJunk, appExtraJunk;
    std::vector<core::AppJunkFile> orphanJunk;
    std::atomic<bool> screenshotsSkipped{false};
    ScanCompletion completion;

private:
    std::vector<std::pair<std::string, const std::vector<File>*>> fileCategories() const {
        return {{"systemCaches", &systemCaches}, {"systemLogs", &systemLogs},      {"trash", &trash},
                {"diskImages", &diskImages},     {"purgeableSpace", &purgeable},   {"downloads", &downloads},
                {"screenshots", &screenshots},   {"mailDownloads", &mailDownloads}};
    }
};

nlohmann::json macAppJunkJson(const std::vector<core::MacAppJunkFile>& junk) {
    auto array = nlohmann::json::array();
    for (const auto& app : junk)
        array.push_back({{"appPath", jsonBytes(app.appURL.path())},
                         {"bundleID", jsonBytes(app.bundleID.origin())},
                         {"files", toJsonArray(app.files)}});
    return array;
}

nlohmann::json JunkReport::json() const {
    nlohmann::json out;
    for (const auto& [key, files] : fileCategories())
        out[key] = toJsonArray(*files);
    out["appJunk"] = macAppJunkJson(appJunk);
    out["appExtraJunk"] = macAppJunkJson(appExtraJunk);
    out["orphanJunk"] = nlohmann::json::array();
    for (const auto& junk : orphanJunk)
        out["orphanJunk"].push_back(
            {{"id", jsonBytes(junk.id.origin())}, {"files", toJsonArray(junk.files)}});
    out["screenshotScanSkipped"] = screenshotsSkipped.load();
    return out;
}

template <class Record> std::int64_t totalSize(const std::vector<Record>& records) {
    std::int64_t total = 0;
    for (const auto& record : records)
        total += record.size;
    return total;
}

// The whole of what the scan found, each path once: a disk image in the downloads folder is on
// both lists, but takes its space on the disk once.
class DistinctTotal {
public:
    template <class Record> void add(const std::vector<Record>& records) {
        for (const auto& record : records)
            if (paths_.insert(record.url.path()).second)
                bytes_ += record.size;
    }
    std::size_t items() const { return paths_.size(); }
    std::int64_t bytes() const { return bytes_; }

private:
    std::set<std::string> paths_;
    std::int64_t bytes_ = 0;
};

void JunkReport::printHuman(bool screenshotsAsked) const {
    std::vector<std::vector<std::string>> rows = {{"Category", "Items", "Size"}};
    DistinctTotal total;
    auto addRow = [&](const std::string& name, std::size_t items, std::int64_t bytes) {
        rows.push_back({name, std::to_string(items), core::sizeString(bytes)});
    };
    for (const auto& [key, files] : fileCategories()) {
        addRow(key, files->size(), totalSize(*files));
        total.add(*files);
    }
    auto addAppRows = [&](const std::string& name, const auto& groups) {
        std::size_t items = 0;
        std::int64_t bytes = 0;
        for (const auto& group : groups) {
            items += group.files.size();
            bytes += totalSize(group.files);
            total.add(group.files);
        }
        addRow(name, items, bytes);
    };
    addAppRows("appJunk", appJunk);
    addAppRows("appExtraJunk", appExtraJunk);
    addAppRows("orphanJunk", orphanJunk);
    addRow("Total", total.items(), total.bytes());
    printTable(rows);
    if (screenshotsAsked && screenshotsSkipped)
        std::cout << "(screenshots were not scanned)\n";
}

class JunkCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("junk", "find caches, logs, trash and other junk");
        sub->add_option("--only", only_, "comma-separated categories: systemCaches,systemLogs,dmgFiles,...");
        sub->add_option("--exclude", excludedFiles_, "leave this path out of the scan")
            ->allow_extra_args(false)
            ->take_all();
        sub->add_option("--exclude-app", excludedApps_, "leave this application bundle out")
            ->allow_extra_args(false)
            ->take_all();
        sub->add_option("--exclude-app-id", excludedAppIds_, "leave this bundle identifier out")
            ->allow_extra_args(false)
            ->take_all();
        return sub;
    }

    int run(const GlobalOptions& options) override {
        auto config = parseOnly(only_);
        if (config.wantsApplicationStage())
            requireApplicationResources();
        UnreadableFolders unreadable;
        auto report = std::make_shared<JunkReport>(options.quiet);
        auto finder = core::JunkFileFinder::make();
        finder->delegate = report;
        finder->exclubeFilesUrls = commandLineURLs(excludedFiles_);
        finder->exclubeAppUrls = commandLineURLs(excludedApps_);
        finder->exclubeAppIds = excludedAppIds_;
        finder->start(config);
        report->completion.wait();
        report->progress.finish();
        if (options.json) {
            std::cout << report->json().dump(2) << '\n';
        } else {
            report->printHuman(config.screenshotFiles);
            unreadable.printSummary(std::cout);
        }
        return 0;
    }

private:
    std::string only_;
    std::vector<std::string> excludedFiles_, excludedApps_, excludedAppIds_;
};

} // namespace

std::unique_ptr<Command> makeJunkCommand() {
    return std::make_unique<JunkCommand>();
}

} // namespace tidewell
