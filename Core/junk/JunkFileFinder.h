// The junk scan: one call with twelve switches runs the chosen categories one after the other on a
// background queue and sends every find to a delegate on the main queue.
//
// Threading: start(), stop() and the public fields belong to the caller's thread. The categories
// run on a serial queue made for each scan. Every delegate call comes on the main queue, and
// junkScanCompleted() comes after every find of its scan (see postToDelegate).
#pragma once

#include "Core/apps/AppJunkFinder.h"
#include "Core/foundation/AppFile.h"
#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/JunkExclusions.h"
#include "Core/foundation/Progress.h"
#include "Core/junk/JunkQueries.h"

#include <memory>
#include <vector>

namespace core {

struct JunkFileFinderConfig {
    bool systemCaches;
    bool systemLogs;
    bool dmgFiles;
    bool trashFiles;
    bool purgeableSpace;
    bool appCaches;
    bool appLogs;
    bool xcode;
    bool internetCaches;
    bool downloadsFiles;
    bool screenshotFiles;
    bool mailDownloadsFiles;

    // Whether the scan runs the application stage, the only one that reads the rule document and
    // the public suffix list.
    bool wantsApplicationStage() const { return appCaches || appLogs || xcode || internetCaches; }
};

class JunkFileFinderDelegate {
public:
    virtual ~JunkFileFinderDelegate() = default;
    virtual void scanningFile(const URL& url) = 0;
    virtual void progressChanged(double value) = 0;
    virtual void systemCacheFound(const File& file) = 0;
    virtual void systemLogFound(const File& file) = 0;
    virtual void trashFileFound(const File& file) = 0;
    virtual void screenshotScanSkipped() = 0;
    virtual void diskImagesFound(const std::vector<File>& files) = 0;
    virtual void macAppJunkFound(const MacAppJunkFile& junk) = 0;
    virtual void appJunkFound(const CaseInsensitiveString& id, const std::vector<AppFile>& files) = 0;
    virtual void macAppExtraJunkFound(const MacAppJunkFile& junk) = 0;
    virtual void purgeableSpaceFound(const File& file) = 0;
    virtual void downloadFileFound(const File& file) = 0;
    virtual void screenshotFound(const File& file) = 0;
    virtual void mailDownloadFound(const File& file) = 0;
    virtual void junkScanCompleted() = 0;
};

class JunkFileFinder : public std::enable_shared_from_this<JunkFileFinder>, public AppJunkFinderDelegate {
public:
    static std::shared_ptr<JunkFileFinder> make();

    // Starts a scan and returns at once. Call stop() before starting another.
    void start(const JunkFileFinderConfig& config);
    // Interrupts the running scan: a scan whose work has not begun reports nothing at all; a
    // running one skips what remains and still ends with junkScanCompleted().
    void stop();

    std::weak_ptr<JunkFileFinderDelegate> delegate;
    std::vector<URL> exclubeFilesUrls;
    std::vector<URL> exclubeAppUrls;
    std::vector<std::string> exclubeAppIds;

    const std::shared_ptr<AppJunkFinder>& appJunkFinder() const { return appJunkFinder_; }
    // The running or last scan's progress; null before the first scan.
    const std::shared_ptr<Progress>& progress() const { return progress_; }

    // The application stage reports through these.
    void appJunkScanningFile(const URL& url) override;
    void appJunkProgressChanged(double value) override;
    void appJunkMacAppJunkFound(const MacAppJunkFile& junk) override;
    void appJunkFound(const CaseInsensitiveString& id, const std::vector<AppFile>& files) override;
    void appJunkMacAppExtraJunkFound(const MacAppJunkFile& junk) override;
    void appJunkScanCompleted() override;

private:
    struct Scan;
    JunkFileFinder() = default;

    void runCategories(const std::shared_ptr<Scan>& scan);
    void runScreenshotStep(const std::shared_ptr<Scan>& scan);
    void runDiskImageStep(const std::shared_ptr<Scan>& scan);
    void runApplicationStage(const std::shared_ptr<Scan>& scan);
    void reportPurgeableSpace();
    using QueryStarter = std::function<void(JunkExclusions, QueryCompletion)>;
    // Starts a query of the file index, or completes at once with nothing when the scan was
    // stopped.
    void runQuery(const std::shared_ptr<Scan>& scan, const QueryStarter& start, QueryCompletion completion);
    // Schedules a delegate call on the main queue; dropped if the finder or the delegate is gone.
    void notify(std::function<void(JunkFileFinderDelegate&)> call);
    // Calls the delegate on the running thread, for what already runs on the main queue.
    void notifyHere(const std::function<void(JunkFileFinderDelegate&)>& call);

    std::shared_ptr<AppJunkFinder> appJunkFinder_;
    std::shared_ptr<FileFinderContext> interrupter_;
    std::shared_ptr<Progress> progress_;
};

} // namespace core
