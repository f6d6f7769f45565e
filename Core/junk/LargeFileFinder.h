// Finds the files of at least a given size in the user's home folder, from the file index,
// biggest first. It stands beside the junk scan with a delegate of its own.
//
// Threading: start() and stop() from any thread. All the work runs on one operation queue, one
// operation at a time; the delegate is called on the main queue (postToDelegate), largeFilesFound
// last.
#pragma once

#include "Core/foundation/File.h"
#include "Core/platform/MetadataQuery.h"

#include <memory>
#include <vector>

namespace core {

class LargeFileFinderDelegate {
public:
    virtual ~LargeFileFinderDelegate() = default;
    // The last result so far, while the index gathers.
    virtual void largeFileScanning(const URL& url) = 0;
    // Every result at the end, largest first.
    virtual void largeFilesFound(const std::vector<File>& files) = 0;
};

class LargeFileFinder : public std::enable_shared_from_this<LargeFileFinder> {
public:
    static std::shared_ptr<LargeFileFinder> make();

    void start(std::int64_t minSize);
    // Ends the search; largeFilesFound does not come for it.
    void stop();

    std::weak_ptr<LargeFileFinderDelegate> delegate;
    std::vector<URL> exclubeFilesUrls;

    // The one query the finder reuses for every search.
    const std::shared_ptr<MetadataQuery>& query() const { return query_; }

private:
    LargeFileFinder() = default;
    void didUpdate();
    void didFinishGathering();
    void report(const std::vector<File>& files);
    void notify(std::function<void(LargeFileFinderDelegate&)> call);

    std::shared_ptr<MetadataQuery> query_;
    std::shared_ptr<OperationQueue> queue_;
};

} // namespace core
