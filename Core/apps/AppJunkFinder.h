// The application stage of the junk scan: caches and logs of installed applications, and what no
// installed application claims. Its finds, progress and completion go to its delegate, which is
// the junk scan that started it.
//
// Threading: start() and stop() from the caller's thread; the work runs on a serial queue of its
// own; delegate calls for finds and the completion come on the main queue, progress and the
// current file on the work queue.
#pragma once

#include "Core/foundation/AppFile.h"
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

class AppJunkFinder : public std::enable_shared_from_this<AppJunkFinder> {
public:
    static std::shared_ptr<AppJunkFinder> make() {
        return std::shared_ptr<AppJunkFinder>(new AppJunkFinder());
    }

    void start(const AppJunkOptions& options);
    void stop();

    std::weak_ptr<AppJunkFinderDelegate> delegate;
    std::shared_ptr<FileFinderContext> context;
    std::vector<URL> exclubeFilesUrls;
    std::vector<URL> exclubeAppUrls;
    std::vector<std::string> exclubeAppIds;

private:
    AppJunkFinder() = default;
    void run(const AppJunkOptions& options);
    void finish();
};

} // namespace core
