#include "Core/junk/JunkQueries.h"

#include "Core/platform/MetadataQuery.h"
#include "Core/platform/SystemPaths.h"

namespace core {
namespace {

struct QueryRequest {
    std::string text;
    std::vector<std::string> scopes;
    // Only results inside the home folder count.
    bool homeOnly = false;
};

std::vector<File> filesOf(const MetadataQuery& query, const QueryRequest& request,
                          const JunkExclusions& exclusions) {
    std::string home = SystemPaths::shared().home();
    std::vector<File> files;
    for (const auto& item : query.results()) {
        if (request.homeOnly && !isSameOrInside(item.path(), home))
            continue;
        auto size = item.integerValue("kMDItemFSSize");
        auto url = URL::fileURL(item.path());
        if (!size || exclusions.excludes(url))
            continue;
        files.push_back({url, *size});
    }
    return files;
}

void run(QueryRequest request, JunkExclusions exclusions, QueryCompletion completion) {
    auto queue = OperationQueue::make("JunkFileFinder.query", 1);
    auto query = MetadataQuery::make();
    query->setOperationQueue(queue);
    queue->addOperation([query, request = std::move(request), exclusions = std::move(exclusions),
                         completion = std::move(completion)] {
        // The finish callback keeps the query alive until it has run, and lets go of it then.
        query->setDidFinishGathering([query, request, exclusions, completion] {
            query->stopQuery();
            query->setDidFinishGathering(nullptr);
            completion(filesOf(*query, request, exclusions));
        });
        query->setPredicate(MetadataPredicate::parse(request.text));
        query->setSearchScopes(request.scopes);
        if (!query->startQuery()) {
            query->stopQuery();
            query->setDidFinishGathering(nullptr);
            completion({});
        }
    });
}

} // namespace

void JunkQueries::startScreenshotQuery(JunkExclusions exclusions, QueryCompletion completion) {
    const auto& paths = SystemPaths::shared();
    run({screenshotQuery,
         {paths.inHome("Desktop"), paths.inHome("Downloads"), paths.inHome("Documents")},
         false},
        std::move(exclusions), std::move(completion));
}

void JunkQueries::startDiskImageQuery(JunkExclusions exclusions, QueryCompletion completion) {
    run({diskImageQuery, {}, true}, std::move(exclusions), std::move(completion));
}

} // namespace core
