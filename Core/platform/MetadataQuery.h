// The file index: finds the items below some folders (the home folder when none is given) that
// match a query text, the way a desktop search index answers a query, and delivers the results
// sorted, with update notifications in batches while it gathers and one when it is done.
//
// Linux keeps no such index, so a query walks its scopes when it starts: in parallel, without
// following links, without crossing into other file systems, and without entering packages,
// which are items of their own.
//
// Threading: configure and start from any thread; results() may be read from any thread. The
// callbacks run on the query's operation queue, or on the main queue when none is set.
#pragma once

#include "Core/platform/Dispatch.h"
#include "Core/platform/MetadataPredicate.h"
#include "Core/platform/OperationQueue.h"

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace core {

// One item of the index. Attributes: kMDItemPath, kMDItemFSName, kMDItemFSSize (bytes of a file,
// or of all the files of a package), kMDItemPhysicalSize (allocated bytes), kMDItemFSNodeCount
// (entries of a folder, or inside a package), kMDItemContentType, kMDItemContentTypeTree,
// kMDItemIsScreenCapture, kMDItemImageIsScreenshot, kMDItemIsScreenRecording, kMDItemComment.
class MetadataItem {
public:
    enum class Kind { file, folder, package };

    MetadataItem(std::string path, Kind kind, std::int64_t size, std::int64_t allocated,
                 std::int64_t nodeCount = 0);

    const std::string& path() const { return path_; }
    Kind kind() const { return kind_; }
    std::optional<MetadataValue> valueForAttribute(const std::string& attribute) const;
    std::optional<std::int64_t> integerValue(const std::string& attribute) const;

private:
    std::string name() const;
    bool isScreenCapture() const;
    bool hasScreenshotName() const;

    std::string path_;
    Kind kind_;
    std::int64_t size_;
    std::int64_t allocated_;
    std::int64_t nodeCount_;
    std::string contentType_;
};

struct MetadataSortDescriptor {
    std::string attribute;
    bool ascending = true;
};

class MetadataQuery : public std::enable_shared_from_this<MetadataQuery> {
public:
    static std::shared_ptr<MetadataQuery> make() {
        return std::shared_ptr<MetadataQuery>(new MetadataQuery());
    }

    // An absent predicate (a text that did not parse) makes startQuery fail.
    void setPredicate(std::optional<MetadataPredicate> predicate);
    void setSearchScopes(std::vector<std::string> folders);
    void setSortDescriptors(std::vector<MetadataSortDescriptor> descriptors);
    void setNotificationBatchingInterval(Seconds interval);
    void setOperationQueue(std::shared_ptr<OperationQueue> queue);
    void setDidUpdate(std::function<void()> callback);
    void setDidFinishGathering(std::function<void()> callback);
    // Called on a thread of the walk for each folder that is there but cannot be listed, with the
    // errno of the failure.
    void setDidFailToList(std::function<void(const std::string& path, int error)> callback);

    // Starts gathering; false when there is no predicate or a gathering is under way.
    bool startQuery();
    // Ends a gathering early, without its finish notification; results stay readable.
    void stopQuery();
    bool isGathering() const;

    std::vector<MetadataItem> results() const;
    std::size_t resultCount() const;

private:
    struct Gathering;
    MetadataQuery() = default;
    void post(const std::function<void()>& callback);
    void gatheringFinished(const std::shared_ptr<Gathering>& gathering);
    void addMatches(const std::shared_ptr<Gathering>& gathering, std::vector<MetadataItem> matches);
    void failedToList(const std::string& path, int error);

    mutable std::mutex mutex_;
    std::optional<MetadataPredicate> predicate_;
    std::vector<std::string> scopes_;
    std::vector<MetadataSortDescriptor> sortDescriptors_;
    Seconds batchingInterval_{1.0};
    std::shared_ptr<OperationQueue> operationQueue_;
    std::function<void()> didUpdate_;
    std::function<void()> didFinishGathering_;
    std::function<void(const std::string&, int)> didFailToList_;
    std::shared_ptr<Gathering> gathering_;
    std::vector<MetadataItem> results_;
};

} // namespace core
