#include "Core/apps/AppJunkFinder.h"

#include "Core/foundation/Analytics.h"
#include "Core/foundation/JunkExclusions.h"
#include "Core/platform/SystemPaths.h"

#include <algorithm>
#include <chrono>
#include <map>

namespace core {
namespace {

const CaseInsensitiveString xcodeID("com.apple.dt.Xcode");

// Caches of web content: what lies in a folder of HTTP storages or WebKit data.
bool isInternetCache(const URL& url) {
    const auto& path = url.path();
    for (const std::string folder : {"/HTTPStorages", "/WebKit"}) {
        auto at = path.find(folder);
        if (at != std::string::npos && (at + folder.size() == path.size() || path[at + folder.size()] == '/'))
            return true;
    }
    return false;
}

// Whether the user asked for this kind of junk.
bool wanted(const FileFinder::Record& record, const AppJunkOptions& options) {
    switch (record.kind.tag()) {
    case AppFileKind::Tag::cache:
        return isInternetCache(record.file->url) ? options.internetCaches : options.appCaches;
    case AppFileKind::Tag::log:
    case AppFileKind::Tag::crashReports:
        return options.appLogs;
    default:
        return false;
    }
}

void sendFindAppEvent(std::chrono::steady_clock::time_point started, std::size_t applications) {
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
    analytics()->event(2, {{"part", "findApp"},
                           {"duration", shortestDecimal(elapsed.count())},
                           {"num", std::to_string(applications)}});
}

} // namespace

std::shared_ptr<AppJunkFinder> AppJunkFinder::make() {
    return std::shared_ptr<AppJunkFinder>(new AppJunkFinder(nullptr, nullptr));
}

std::shared_ptr<AppJunkFinder> AppJunkFinder::make(const RuleManager& rules, const AppFileRule& index) {
    return std::shared_ptr<AppJunkFinder>(new AppJunkFinder(&rules, &index));
}

void AppJunkFinder::start(const AppJunkOptions& options) {
    std::weak_ptr<AppJunkFinder> weakSelf = weak_from_this();
    context_ = FileFinderContext::make([weakSelf](URL url) {
        if (auto self = weakSelf.lock())
            if (auto target = self->delegate.lock())
                target->appJunkScanningFile(url);
    });
    // The stage continues the junk scan, and its queue carries the junk scan's label.
    auto queue = DispatchQueue::makeSerial("start(config:)", QualityOfService::userInitiated);
    context_->async(queue, [weakSelf, options] {
        if (auto self = weakSelf.lock())
            self->run(options);
    });
}

void AppJunkFinder::stop() {
    if (context_)
        context_->interrupt();
    context_.reset();
}

void AppJunkFinder::run(const AppJunkOptions& options) {
    if (!rules_) {
        rules_ = &RuleManager::shared();
        index_ = &AppFileRule::cacheAndLog();
    }
    auto started = std::chrono::steady_clock::now();
    const auto& paths = SystemPaths::shared();
    AppBundleLoader loader;
    InstalledBundleFilter filter{
        {paths.resolve("/Applications"), paths.inHome("Applications")}, {}, exclubeAppUrls, exclubeAppIds};
    auto apps = findInstalledBundles(loader, filter);
    sendFindAppEvent(started, apps.size());

    JunkExclusions exclusions(exclubeFilesUrls);
    FileFinder finder(*index_);
    auto progress = [this](double value) {
        if (auto target = delegate.lock())
            target->appJunkProgressChanged(value);
    };
    double steps = static_cast<double>(apps.size() + 1);
    double done = 0;

    for (const auto& [id, bundles] : apps) {
        if (FileFinderContext::currentIsInterrupted())
            return finish();
        auto app = makeMacApp(bundles, *rules_);
        bool xcode = id == xcodeID;
        auto records = walkForApplication(finder, *index_, *app, [&](const FileFinder::Record& record) {
            return !exclusions.excludes(record.file->url) &&
                   (xcode ? options.xcode : wanted(record, options));
        });
        progress(++done / steps);
        if (records.empty())
            continue;
        MacAppJunkFile junk{bundles.front()->url(), id, FileFinder::appFiles(records)};
        if (xcode)
            report([junk](auto& target) { target.appJunkMacAppExtraJunkFound(junk); });
        else
            report([junk](auto& target) { target.appJunkMacAppJunkFound(junk); });
    }

    std::map<std::string, AppFileInfos> orphans;
    finder.walk([](NodeID) { return true; },
                [&](const OwnerID& owner, const std::shared_ptr<FileInfo>& file, const AppFileKind& kind,
                    const RuleID& rule) {
                    if (!owner || file->used || rule.type() == RuleID::Type::black ||
                        rule.type() == RuleID::Type::system)
                        return;
                    FileFinder::Record record{file, kind, App::app(*owner)};
                    if (exclusions.excludes(file->url) || !wanted(record, options))
                        return;
                    orphans[owner->origin()].push_back(std::move(record));
                });
    for (const auto& [id, records] : orphans) {
        auto files = FileFinder::appFiles(records);
        report([id = CaseInsensitiveString(id), files](auto& target) { target.appJunkFound(id, files); });
    }
    progress(1.0);
    finish();
}

void AppJunkFinder::finish() {
    report([](AppJunkFinderDelegate& target) { target.appJunkScanCompleted(); });
}

void AppJunkFinder::report(std::function<void(AppJunkFinderDelegate&)> call) {
    postToDelegate(weak_from_this(), delegate, std::move(call));
}

} // namespace core
