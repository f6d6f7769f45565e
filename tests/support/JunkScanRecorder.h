// A junk scan delegate that records every call with the thread it came on, and a helper that runs
// a scan to its end the way a host does: start, pump the main queue, drain it.
#pragma once

#include "Core/junk/JunkFileFinder.h"

#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

namespace core::testing {

class JunkScanRecorder final : public JunkFileFinderDelegate {
public:
    void scanningFile(const URL& url) override { record("scanningFile", File{url, 0}); }
    void progressChanged(double value) override;
    void systemCacheFound(const File& file) override { record("systemCacheFound", file); }
    void systemLogFound(const File& file) override { record("systemLogFound", file); }
    void trashFileFound(const File& file) override { record("trashFileFound", file); }
    void screenshotScanSkipped() override { record("screenshotScanSkipped"); }
    void diskImagesFound(const std::vector<File>& files) override;
    void macAppJunkFound(const MacAppJunkFile&) override { record("macAppJunkFound"); }
    void appJunkFound(const CaseInsensitiveString&, const std::vector<AppFile>&) override {
        record("appJunkFound");
    }
    void macAppExtraJunkFound(const MacAppJunkFile&) override { record("macAppExtraJunkFound"); }
    void purgeableSpaceFound(const File& file) override { record("purgeableSpaceFound", file); }
    void downloadFileFound(const File& file) override { record("downloadFileFound", file); }
    void screenshotFound(const File& file) override { record("screenshotFound", file); }
    void mailDownloadFound(const File& file) override { record("mailDownloadFound", file); }
    void junkScanCompleted() override;

    int count(const std::string& requirement) const;
    std::vector<File> files(const std::string& requirement) const;
    // The paths found by a requirement, in the order they came.
    std::vector<std::string> paths(const std::string& requirement) const;
    bool completed() const { return completed_; }
    // Whether every call of the requirement came on the thread that pumps the main queue.
    bool cameOnMainThread(const std::string& requirement) const;
    std::vector<double> progressValues() const;

private:
    void record(const std::string& requirement, std::optional<File> file = std::nullopt);

    mutable std::mutex mutex_;
    std::multimap<std::string, std::pair<std::optional<File>, std::thread::id>> calls_;
    std::vector<double> progress_;
    std::atomic<bool> completed_{false};
};

// Starts the scan, pumps the main queue until it completes (or 20 seconds pass), then runs what
// is still queued. False on time-out.
bool runJunkScan(JunkFileFinder& finder, const JunkFileFinderConfig& config,
                 const JunkScanRecorder& recorder);

JunkFileFinderConfig onlyConfig(bool JunkFileFinderConfig::*field);
JunkFileFinderConfig noneConfig();

// A macOS-like root and a home folder in temporary trees, analytics recorded, no mounted volumes;
// scan() runs one category of a fresh finder and answers the sorted paths it found.
class JunkCategoryTest : public ::testing::Test {
protected:
    std::vector<std::string> scan(bool JunkFileFinderConfig::*category, const std::string& requirement,
                                  const std::vector<std::string>& excluded = {});

    TempTree root, home;
    ScopedSystemPaths paths{root.path(), home.path()};
    ScopedMountTable volumes{{}};
    ScopedRecordingAnalytics analytics;
    // The recorder of the last scan.
    std::shared_ptr<JunkScanRecorder> recorder;
};

} // namespace core::testing
