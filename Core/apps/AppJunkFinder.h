// The application stage of the junk scan: caches and logs of installed applications, and what no
// installed application claims. Its finds, progress and completion go to its delegate, which is
// the junk scan that started it.
//
// Threading: start() and stop() from the caller's thread; the work runs on a serial queue of its
// own; delegate calls for finds and the completion come on the main queue (postToDelegate),
// progress on the work queue and the current file on the main queue.
#pragma once

#include "Core/apps/InstalledApps.h"
#include "Core/foundation/FileFinderContext.h"

#include <memory>
#include <vector>

namespace core {

class AppJunkFinderDelegate {
public:
    virtual ~AppJunkFinderDelegate() = default;
    virtual void appJunkScanningFile(const URL& url) = 0;
    // The stage's own fraction done, from 0 to 1.
    virtual void appJunkProgressChanged(double value) = 0;
    virtual void appJunkMacAppJunkFound(const MacAppJunkFile& junk) = 0;
    virtual void appJunkFound(const CaseInsensitiveString& id, const std::vector<AppFile>& files) = 0;
    virtual void appJunkMacAppExtraJunkFound(const MacAppJunkFile& junk) = 0;
    virtual void appJunkScanCompleted() = 0;
};

// Which application junk the user asked for.
struct AppJunkOptions {
    bool appCaches = false;
    bool appLogs = false;
    bool xcode = false;
    bool internetCaches = false;
};

// Finds the caches and logs of the installed applications with the cache-and-log index, then, in
// a second walk over all rules, what no installed application claims, under the id its path names.
// Xcode's data is reported apart (macAppExtraJunkFound) and only under the `xcode` switch; caches
// of web content (HTTP storages, WebKit data) count under `internetCaches`, all other caches under
// `appCaches`. The second walk offers nothing an installed application took, nothing without an
// owner id, and nothing the black or system rules claim.
class AppJunkFinder : public std::enable_shared_from_this<AppJunkFinder> {
public:
    // Over the process-wide rules and cache-and-log index, loaded on the first start.
    static std::shared_ptr<AppJunkFinder> make();
    static std::shared_ptr<AppJunkFinder> make(const RuleManager& rules, const AppFileRule& index);

    void start(const AppJunkOptions& options);
    // Interrupts the running scan and lets go of its context; the completion still comes.
    void stop();

    std::weak_ptr<AppJunkFinderDelegate> delegate;
    std::vector<URL> exclubeFilesUrls;
    std::vector<URL> exclubeAppUrls;
    std::vector<std::string> exclubeAppIds;

private:
    AppJunkFinder(const RuleManager* rules, const AppFileRule* index) : rules_(rules), index_(index) {}
    void run(const AppJunkOptions& options);
    void finish();
    void report(std::function<void(AppJunkFinderDelegate&)> call);

    // Null until the first start, for the process-wide ones.
    const RuleManager* rules_;
    const AppFileRule* index_;
    std::shared_ptr<FileFinderContext> context_;
};

} // namespace core
