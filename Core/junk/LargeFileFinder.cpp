#include "Core/junk/LargeFileFinder.h"

#include "Core/foundation/JunkExclusions.h"
#include "Core/junk/JunkDiagnostics.h"
#include "Core/platform/SystemPaths.h"

namespace core {

std::shared_ptr<LargeFileFinder> LargeFileFinder::make() {
    std::shared_ptr<LargeFileFinder> finder(new LargeFileFinder());
    finder->query_ = MetadataQuery::make();
    finder->queue_ = OperationQueue::make("LargeFileFinder", 1);
    std::weak_ptr<LargeFileFinder> weakFinder = finder;
    // Notifications arrive on the finder's queue already; each is handled by an operation of its
    // own, after whatever the queue is doing.
    finder->query_->setDidUpdate([weakFinder] {
        if (auto self = weakFinder.lock())
            self->didUpdate();
    });
    finder->query_->setDidFinishGathering([weakFinder] {
        if (auto self = weakFinder.lock())
            self->didFinishGathering();
    });
    finder->query_->setDidFailToList(reportUnreadableFolder);
    return finder;
}

void LargeFileFinder::start(std::int64_t minSize) {
    query_->setPredicate(MetadataPredicate::parse("kMDItemFSSize >= " + std::to_string(minSize)));
    query_->setNotificationBatchingInterval(Seconds(0.1));
    query_->setSortDescriptors({{"kMDItemFSSize", false}});
    query_->setOperationQueue(queue_);
    queue_->addOperation([weakSelf = weak_from_this()] {
        auto self = weakSelf.lock();
        if (!self || self->query_->startQuery())
            return;
        self->query_->stopQuery();
        self->report({});
    });
}

void LargeFileFinder::stop() {
    queue_->addOperation([weakSelf = weak_from_this()] {
        if (auto self = weakSelf.lock())
            self->query_->stopQuery();
    });
}

void LargeFileFinder::didUpdate() {
    auto results = query_->results();
    if (results.empty())
        return;
    notify([url = URL::fileURL(results.back().path())](LargeFileFinderDelegate& target) {
        target.largeFileScanning(url);
    });
}

void LargeFileFinder::didFinishGathering() {
    query_->stopQuery();
    std::string home = SystemPaths::shared().home();
    JunkExclusions exclusions(exclubeFilesUrls);
    std::vector<File> files;
    for (const auto& item : query_->results()) {
        auto size = item.integerValue("kMDItemFSSize");
        auto url = URL::fileURL(item.path());
        // Whole path components on purpose: a text prefix would take "~/Documents" for "~/Doc".
        if (!isSameOrInside(item.path(), home) || !size || exclusions.excludes(url))
            continue;
        files.push_back({url, *size});
    }
    report(files);
}

void LargeFileFinder::report(const std::vector<File>& files) {
    notify([files](LargeFileFinderDelegate& target) { target.largeFilesFound(files); });
}

void LargeFileFinder::notify(std::function<void(LargeFileFinderDelegate&)> call) {
    postToDelegate(weak_from_this(), delegate, std::move(call));
}

} // namespace core
