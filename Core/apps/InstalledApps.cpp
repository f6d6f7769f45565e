#include "Core/apps/InstalledApps.h"

#include "Core/apps/ApplicationList.h"
#include "Core/platform/SystemPaths.h"
#include "Core/rules/PublicSuffixList.h"

#include <algorithm>

namespace core {
namespace {

bool isSkippedSystemBundle(const std::string& bundleID) {
    return bundleID == "com.sogou.SogouInstaller" ||
           bundleID.find("com.apple.automator") != std::string::npos ||
           bundleID.find("com.apple.Safari") != std::string::npos;
}

bool underAnyRoot(const std::string& path, const std::vector<std::string>& roots) {
    return roots.empty() || std::any_of(roots.begin(), roots.end(),
                                        [&](const auto& root) { return isSameOrInside(path, root); });
}

} // namespace

AppBundles findInstalledBundles(const AppBundleLoader& loader, const InstalledBundleFilter& filter,
                                const std::function<void(const AppBundle&)>& accepted) {
    AppBundles bundles;
    for (const auto& url : filteredApplicationURLs({})) {
        if (!underAnyRoot(url.path(), filter.roots) ||
            (!filter.excludedFolder.empty() && isSameOrInside(url.path(), filter.excludedFolder)) ||
            (filter.dropsSystemBundles && rootless(url)) ||
            std::find(filter.excludedURLs.begin(), filter.excludedURLs.end(), url) !=
                filter.excludedURLs.end())
            continue;
        auto bundle = loader.load(url);
        if (!bundle || (filter.dropsSystemBundles && isSkippedSystemBundle(bundle->bundleID().origin())))
            continue;
        const auto& excludedIDs = filter.excludedIDs;
        if (std::any_of(excludedIDs.begin(), excludedIDs.end(),
                        [&](const auto& id) { return CaseInsensitiveString(id) == bundle->bundleID(); }))
            continue;
        bundle->loadSubBundles();
        if (accepted)
            accepted(*bundle);
        bundles[bundle->bundleID()].push_back(std::move(bundle));
    }
    return bundles;
}

std::shared_ptr<MacApp> makeMacApp(const std::vector<std::shared_ptr<AppBundle>>& bundles,
                                   const RuleManager& rules) {
    const auto& id = bundles.front()->bundleID();
    auto extra = rules.extraInfo(id.origin());
    auto organization = extra.organization;
    if (!organization)
        organization = CaseInsensitiveString::from(PublicSuffixList::shared().organization(id.origin()));
    auto app = MacApp::make(id, organization);
    CaseInsensitiveSet ids = {id};
    ids.insert(extra.ids.begin(), extra.ids.end());
    for (const auto& bundle : bundles) {
        ids.insert(bundle->bundleIDs().begin(), bundle->bundleIDs().end());
        app->bundleNames.insert(bundle->bundleNames().begin(), bundle->bundleNames().end());
        app->urls.push_back(bundle->url());
    }
    app->setBundleIDs(std::move(ids));
    return app;
}

std::optional<App> ownerFor(const MacApp& app, const CaseInsensitiveSet& bundleIDs, const OwnerID& id) {
    if (!id)
        return App::macApp(MacAppID::bundleID(app.bundleID));
    if (bundleIDs.count(*id))
        return App::macApp(MacAppID::bundleID(*id));
    if (app.bundleNames.count(*id))
        return App::macApp(MacAppID::bundleName(*id));
    if (app.organization && *app.organization == *id)
        return App::macApp(MacAppID::organization(*id));
    return std::nullopt;
}

AppFileInfos walkForApplication(FileFinder& finder, const AppFileRule& index, const MacApp& app,
                                const std::function<bool(const FileFinder::Record&)>& keep) {
    auto bundleIDs = app.bundleIDs();
    auto nodes = index.matcherIDs(app.bundleID.origin());
    std::string appleSupport = SystemPaths::shared().resolve("/Library/Application Support/Apple");
    AppFileInfos records;
    finder.walk([&](NodeID node) { return nodes.count(node) > 0; },
                [&](const OwnerID& owner, const std::shared_ptr<FileInfo>& file, const AppFileKind& kind,
                    const RuleID&) {
                    auto appOwner = ownerFor(app, bundleIDs, owner);
                    if (!appOwner)
                        return;
                    file->used = true;
                    FileFinder::Record record{file, kind, *appOwner};
                    if (file->url.path() != appleSupport && keep(record))
                        records.push_back(std::move(record));
                });
    return records;
}

} // namespace core
