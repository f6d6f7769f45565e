#include "tests/support/JunkScanRecorder.h"

#include <algorithm>

namespace core::testing {

void JunkScanRecorder::record(const std::string& requirement, std::optional<File> file) {
    std::lock_guard lock(mutex_);
    calls_.emplace(requirement, std::make_pair(std::move(file), std::this_thread::get_id()));
}

void JunkScanRecorder::progressChanged(double value) {
    record("progressChanged");
    std::lock_guard lock(mutex_);
    progress_.push_back(value);
}

void JunkScanRecorder::diskImagesFound(const std::vector<File>& files) {
    record("diskImagesFound");
    for (const auto& file : files)
        record("diskImage", file);
}

void JunkScanRecorder::junkScanCompleted() {
    record("junkScanCompleted");
    completed_ = true;
}

int JunkScanRecorder::count(const std::string& requirement) const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(calls_.count(requirement));
}

std::vector<File> JunkScanRecorder::files(const std::string& requirement) const {
    std::lock_guard lock(mutex_);
    std::vector<File> found;
    auto [begin, end] = calls_.equal_range(requirement);
    for (auto it = begin; it != end; ++it)
        if (it->second.first)
            found.push_back(*it->second.first);
    return found;
}

std::vector<std::string> JunkScanRecorder::paths(const std::string& requirement) const {
    std::vector<std::string> found;
    for (const auto& file : files(requirement))
        found.push_back(file.url.path());
    return found;
}

bool JunkScanRecorder::cameOnMainThread(const std::string& requirement) const {
    std::lock_guard lock(mutex_);
    auto [begin, end] = calls_.equal_range(requirement);
    for (auto it = begin; it != end; ++it)
        if (it->second.second != std::this_thread::get_id())
            return false;
    return begin != end;
}

std::vector<double> JunkScanRecorder::progressValues() const {
    std::lock_guard lock(mutex_);
    return progress_;
}

bool runJunkScan(JunkFileFinder& finder, const JunkFileFinderConfig& config,
                 const JunkScanRecorder& recorder) {
    finder.start(config);
    bool done = DispatchQueue::runUntil([&] { return recorder.completed(); }, std::chrono::seconds(20));
    DispatchQueue::drainMain();
    return done;
}

JunkFileFinderConfig noneConfig() {
    return JunkFileFinderConfig{};
}

JunkFileFinderConfig onlyConfig(bool JunkFileFinderConfig::*field) {
    auto config = noneConfig();
    config.*field = true;
    return config;
}

std::vector<std::string> JunkCategoryTest::scan(bool JunkFileFinderConfig::*category,
                                                const std::string& requirement,
                                                const std::vector<std::string>& excluded) {
    recorder = std::make_shared<JunkScanRecorder>();
    auto finder = JunkFileFinder::make();
    finder->delegate = recorder;
    for (const auto& path : excluded)
        finder->exclubeFilesUrls.push_back(URL::fileURL(path));
    EXPECT_TRUE(runJunkScan(*finder, onlyConfig(category), *recorder));
    auto found = recorder->paths(requirement);
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace core::testing
