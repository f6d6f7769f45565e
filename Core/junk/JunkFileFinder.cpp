#include "Core/junk/JunkFileFinder.h"

#include "Core/junk/DownloadsScanner.h"
#include "Core/junk/JunkDiagnostics.h"
#include "Core/junk/JunkQueries.h"
#include "Core/junk/SystemJunkScanner.h"
#include "Core/junk/TrashScanner.h"
#include "Core/platform/PurgeableSpace.h"
#include "Core/platform/SystemPaths.h"

namespace core {

// What one scan works with: the switches, the exclusions as they stood at its start, and its
// progress and context, so that a later start() cannot change them under it.
struct JunkFileFinder::Scan {
    JunkFileFinderConfig config;
    JunkExclusions exclusions;
    std::shared_ptr<Progress> progress;
    std::shared_ptr<FileFinderContext> context;
};

namespace {

// Weights of the five parts: system caches, system logs, trash and purgeable space, downloads with
// mail and screenshots, and the application stage, which does most of the work.
const std::vector<int> junkScanParts = {1, 1, 1, 1, 11};

constexpr int applicationStageUnits = 100;

} // namespace

std::shared_ptr<JunkFileFinder> JunkFileFinder::make() {
    std::shared_ptr<JunkFileFinder> finder(new JunkFileFinder());
    finder->appJunkFinder_ = AppJunkFinder::make();
    finder->appJunkFinder_->delegate = finder;
    return finder;
}

void JunkFileFinder::start(const JunkFileFinderConfig& config) {
    appJunkFinder_->exclubeFilesUrls = exclubeFilesUrls;
    appJunkFinder_->exclubeAppUrls = exclubeAppUrls;
    appJunkFinder_->exclubeAppIds = exclubeAppIds;

    std::weak_ptr<JunkFileFinder> weakSelf = weak_from_this();
    interrupter_ = FileFinderContext::make([weakSelf](URL url) {
        if (auto self = weakSelf.lock())
            self->notifyHere([&](JunkFileFinderDelegate& target) { target.scanningFile(url); });
    });
    auto queue = DispatchQueue::makeSerial("start(config:)", QualityOfService::userInitiated);
    progress_ = std::make_shared<Progress>(junkScanParts, [weakSelf](double value) {
        if (auto self = weakSelf.lock())
            self->notifyHere([&](JunkFileFinderDelegate& target) { target.progressChanged(value); });
    });

    auto scan =
        std::make_shared<Scan>(Scan{config, JunkExclusions(exclubeFilesUrls), progress_, interrupter_});
    interrupter_->async(queue, [weakSelf, scan] {
        if (auto self = weakSelf.lock())
            self->runCategories(scan);
    });
}

void JunkFileFinder::stop() {
    if (interrupter_)
        interrupter_->interrupt();
    interrupter_.reset();
    appJunkFinder_->stop();
}

void JunkFileFinder::runCategories(const std::shared_ptr<Scan>& scan) {
    const auto& config = scan->config;
    auto found = [this](void (JunkFileFinderDelegate::*requirement)(const File&)) {
        return [this, requirement](const File& file) {
            notify([file, requirement](JunkFileFinderDelegate& target) { (target.*requirement)(file); });
        };
    };
    if (config.systemCaches)
        SystemJunkScanner::scanSystemCaches(scan->exclusions,
                                            found(&JunkFileFinderDelegate::systemCacheFound));
    scan->progress->nextPart();
    if (config.systemLogs)
        SystemJunkScanner::scanSystemLogs(scan->exclusions, found(&JunkFileFinderDelegate::systemLogFound));
    scan->progress->nextPart();
    if (config.trashFiles)
        TrashScanner::scanTrash(scan->exclusions, found(&JunkFileFinderDelegate::trashFileFound));
    if (config.purgeableSpace)
        reportPurgeableSpace();
    scan->progress->nextPart();
    if (config.downloadsFiles)
        DownloadsScanner::scanDownloads(scan->exclusions, found(&JunkFileFinderDelegate::downloadFileFound));
    if (config.mailDownloadsFiles)
        DownloadsScanner::scanMailDownloads(scan->exclusions,
                                            found(&JunkFileFinderDelegate::mailDownloadFound));
    runScreenshotStep(scan);
}

void JunkFileFinder::reportPurgeableSpace() {
    if (FileFinderContext::currentIsInterrupted())
        return;
    auto estimate = PurgeableSpace::recoveryEstimate(SystemPaths::shared().resolve("/"));
    File file{URL::fileURL("/"), static_cast<std::int64_t>(estimate)};
    notify([file](JunkFileFinderDelegate& target) { target.purgeableSpaceFound(file); });
}

void JunkFileFinder::runScreenshotStep(const std::shared_ptr<Scan>& scan) {
    if (!scan->config.screenshotFiles) {
        scan->progress->nextPart();
        notify([](JunkFileFinderDelegate& target) { target.screenshotScanSkipped(); });
        runDiskImageStep(scan);
        return;
    }
    JunkCategoryTally tally;
    runQuery(scan, JunkQueries::startScreenshotQuery,
             [this, scan, tally](std::vector<File> screenshots) mutable {
                 for (const auto& file : screenshots) {
                     tally.add(file.size);
                     notify([file](JunkFileFinderDelegate& target) { target.screenshotFound(file); });
                 }
                 tally.sendEvent("screenshot");
                 scan->progress->nextPart();
                 runDiskImageStep(scan);
             });
}

void JunkFileFinder::runDiskImageStep(const std::shared_ptr<Scan>& scan) {
    if (!scan->config.dmgFiles) {
        notify([](JunkFileFinderDelegate& target) { target.diskImagesFound({}); });
        runApplicationStage(scan);
        return;
    }
    JunkCategoryTally tally;
    runQuery(scan, JunkQueries::startDiskImageQuery, [this, scan, tally](std::vector<File> images) mutable {
        for (const auto& file : images)
            tally.add(file.size);
        notify([images](JunkFileFinderDelegate& target) { target.diskImagesFound(images); });
        tally.sendEvent("dmg");
        runApplicationStage(scan);
    });
}

void JunkFileFinder::runQuery(const std::shared_ptr<Scan>& scan, const QueryStarter& start,
                              QueryCompletion completion) {
    if (!interrupter_ || scan->context->interrupted()) {
        completion({});
        return;
    }
    // Hold the finder while the query runs: the chain must reach its end even if the owner lets go.
    start(scan->exclusions, [self = shared_from_this(), completion = std::move(completion)](
                                std::vector<File> files) { completion(std::move(files)); });
}

void JunkFileFinder::runApplicationStage(const std::shared_ptr<Scan>& scan) {
    scan->progress->partTotal = applicationStageUnits;
    // A stopped scan wants no more finds: it ends here instead of starting the application stage
    // with a fresh context.
    if (scan->config.wantsApplicationStage() && !scan->context->interrupted()) {
        const auto& config = scan->config;
        appJunkFinder_->start({config.appCaches, config.appLogs, config.xcode, config.internetCaches});
        return;
    }
    notify([](JunkFileFinderDelegate& target) { target.junkScanCompleted(); });
}

void JunkFileFinder::notify(std::function<void(JunkFileFinderDelegate&)> call) {
    postToDelegate(weak_from_this(), delegate, std::move(call));
}

void JunkFileFinder::notifyHere(const std::function<void(JunkFileFinderDelegate&)>& call) {
    if (auto target = delegate.lock())
        call(*target);
}

void JunkFileFinder::appJunkScanningFile(const URL& url) {
    notifyHere([&](JunkFileFinderDelegate& target) { target.scanningFile(url); });
}

void JunkFileFinder::appJunkProgressChanged(double value) {
    if (!progress_)
        return;
    progress_->partProgress = static_cast<int>(value * applicationStageUnits);
    progress_->update();
}

void JunkFileFinder::appJunkMacAppJunkFound(const MacAppJunkFile& junk) {
    notifyHere([&](JunkFileFinderDelegate& target) { target.macAppJunkFound(junk); });
}

void JunkFileFinder::appJunkFound(const CaseInsensitiveString& id, const std::vector<AppFile>& files) {
    notifyHere([&](JunkFileFinderDelegate& target) { target.appJunkFound(id, files); });
}

void JunkFileFinder::appJunkMacAppExtraJunkFound(const MacAppJunkFile& junk) {
    notifyHere([&](JunkFileFinderDelegate& target) { target.macAppExtraJunkFound(junk); });
}

void JunkFileFinder::appJunkScanCompleted() {
    notifyHere([](JunkFileFinderDelegate& target) { target.junkScanCompleted(); });
}

} // namespace core
