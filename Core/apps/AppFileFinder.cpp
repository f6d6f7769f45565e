#include "Core/apps/AppFileFinder.h"

#include "Core/apps/ApplicationList.h"
#include "Core/foundation/FileManager.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/FolderReader.h"
#include "Core/platform/PropertyList.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"
#include "Core/rules/PublicSuffixList.h"

#include <algorithm>
#include <sstream>

namespace core {
namespace {

constexpr std::int64_t addedRecordPriority = 10;
constexpr std::int64_t harvestPriority = 40;

FileFinder::Record recordOf(const std::string& path, std::int64_t priority, AppFileKind kind, App owner) {
    return {std::make_shared<FileInfo>(URL::fileURL(path), priority), std::move(kind), std::move(owner)};
}

bool holdsURL(const AppFileInfos& records, const URL& url) {
    return std::any_of(records.begin(), records.end(),
                       [&](const auto& record) { return record.file->url == url; });
}

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The identifiers a code-signing requirement names: identifier "com.example.app".
std::vector<std::string> requirementIdentifiers(const std::string& requirement) {
    std::vector<std::string> ids;
    for (std::size_t at = requirement.find("identifier"); at != std::string::npos;
         at = requirement.find("identifier", at + 10)) {
        auto open = requirement.find('"', at);
        auto close = open == std::string::npos ? open : requirement.find('"', open + 1);
        if (close == std::string::npos)
            break;
        ids.push_back(requirement.substr(open + 1, close - open - 1));
    }
    return ids;
}

// The tools in "/Library/PrivilegedHelperTools", by the applications they authorise. A tool's
// property list is read from "TOOL.plist" beside it, as Linux executables embed none.
std::unordered_map<CaseInsensitiveString, URL> helperTools() {
    std::unordered_map<CaseInsensitiveString, URL> tools;
    std::string folder = SystemPaths::shared().resolve("/Library/PrivilegedHelperTools");
    for (const auto& [name, isFolder, entryKind] : listFolder(folder)) {
        if (isFolder || endsWith(name, ".plist"))
            continue;
        auto info = readPlistContent(folder + "/" + name + ".plist");
        auto clients = info ? info->find("SMAuthorizedClients") : PlistDictionary::const_iterator();
        if (!info || clients == info->end() || !clients->second.array())
            continue;
        for (const auto& client : *clients->second.array())
            if (client.string())
                for (const auto& id : requirementIdentifiers(*client.string()))
                    tools.insert_or_assign(CaseInsensitiveString(id), URL::fileURL(folder + "/" + name));
    }
    return tools;
}

// Symbolic links in "/Applications" stand for aliases: the bundle they lead to, by the link.
std::unordered_map<URL, URL> aliases() {
    std::unordered_map<URL, URL> targets;
    std::string folder = SystemPaths::shared().resolve("/Applications");
    for (const auto& entry : listFolder(folder)) {
        std::string path = folder + "/" + entry.name;
        if (entry.kind != FileKind::symbolicLink)
            continue;
        if (auto resolved = SystemPaths::shared().realPath(path))
            targets.emplace(URL::fileURL(*resolved), URL::fileURL(path));
    }
    return targets;
}

std::string lowered(const std::string& text) {
    return CaseInsensitiveString(text).lowercaseString();
}

// Removes every occurrence of `text`, ignoring case.
std::string removedIgnoringCase(std::string name, const std::string& text) {
    for (auto found = findIgnoringCase(name, text); found && found->length > 0;
         found = findIgnoringCase(name, text))
        name.erase(found->position, found->length);
    return name;
}

// Without a leading "group.", of any case; the same text further in is part of the identifier.
std::string withoutGroupPrefix(std::string name) {
    if (auto found = findIgnoringCase(name, "group."); found && found->position == 0)
        name.erase(0, found->length);
    return name;
}

// The identifier a container or script folder is named after: without the plist suffix, the
// "group." prefix and the team identifier.
std::optional<std::string> harvestedContainerID(std::string name, bool isFolder) {
    if (!isFolder) {
        if (!endsWith(name, ".plist"))
            return std::nullopt;
        name.resize(name.size() - 6);
    }
    if (name.find("com.apple.") != std::string::npos)
        return std::nullopt;
    name = withoutGroupPrefix(std::move(name));
    static const auto teamPrefix = *Regex::compile("^[0-9a-zA-Z]{10}\\.$", false);
    if (name.size() >= 11 && teamPrefix.matches(name.substr(0, 11)))
        name = removedIgnoringCase(name, name.substr(0, 11));
    return withoutGroupPrefix(std::move(name));
}

} // namespace

bool similarIDs(const std::string& a, const std::string& b) {
    if (a.find(b) != std::string::npos || b.find(a) != std::string::npos)
        return true;
    auto left = splitDroppingEmpty(a, '.'), right = splitDroppingEmpty(b, '.');
    auto vendorProduct = [](const std::vector<std::string>& split) -> std::optional<std::string> {
        auto at = std::find(split.begin(), split.end(), "jetbrains");
        return at != split.end() && at + 1 != split.end() ? std::optional(*(at + 1)) : std::nullopt;
    };
    auto leftProduct = vendorProduct(left), rightProduct = vendorProduct(right);
    if (leftProduct && rightProduct && *leftProduct == *rightProduct)
        return true;
    std::size_t shorter = std::min(left.size(), right.size());
    if (shorter == 0)
        return false;
    std::size_t agreeing = 0;
    while (agreeing < shorter && left[agreeing] == right[agreeing])
        ++agreeing;
    return static_cast<double>(agreeing) / static_cast<double>(shorter) - 0.5 >= 0.001;
}

std::shared_ptr<AppFileFinder> AppFileFinder::make() {
    return make(RuleManager::shared(), AppFileRule::full());
}

std::shared_ptr<AppFileFinder> AppFileFinder::make(const RuleManager& rules, const AppFileRule& index) {
    return std::shared_ptr<AppFileFinder>(new AppFileFinder(rules, index));
}

AppFileFinder::AppFileFinder(const RuleManager& rules, const AppFileRule& index)
    : rules_(rules), index_(index), finder_(index),
      // Serial on purpose: every scan and walk shares the file tree and its used marks.
      workQueue_(DispatchQueue::makeSerial("AppFileFinder")) {
    auto black = rules_.rules.find(RuleID::black());
    if (black == rules_.rules.end() || !black->second.section(RuleSection::support))
        return;
    auto preferences = black->second.section(RuleSection::support)->find(AppFileKind::Tag::preference);
    if (preferences == black->second.section(RuleSection::support)->end())
        return;
    for (const auto& matcher : preferences->second) {
        if (matcher.nameMatcher.type() == Matcher::Type::string)
            blackPreferenceNames_.insert(matcher.nameMatcher.name());
        else if (matcher.nameMatcher.type() == Matcher::Type::regex)
            blackPreferenceExpressions_.push_back(*matcher.nameMatcher.expression());
    }
}

void AppFileFinder::prepare() {
    DispatchQueue::global()->async([] {
        RuleManager::shared();
        AppFileRule::full();
        AppFileRule::cacheAndLog();
    });
}

void AppFileFinder::setContext() {
    context_ = FileFinderContext::make([](URL) {});
}

void AppFileFinder::stop() {
    if (context_)
        context_->interrupt();
    context_.reset();
}

void AppFileFinder::run(std::function<void(AppFileFinder&)> job) {
    if (!context_)
        setContext();
    context_->async(workQueue_, [weakSelf = weak_from_this(), job = std::move(job)] {
        if (auto self = weakSelf.lock())
            job(*self);
    });
}

void AppFileFinder::scan() {
    finder_.clearCache();
    bundleLoader_.uuidMapper->clear();
    setContext();
    run([](AppFileFinder& self) { self.runScan(); });
}

void AppFileFinder::runScan() {
    const auto& paths = SystemPaths::shared();
    std::unordered_map<CaseInsensitiveString, URL> lastURL;
    InstalledBundleFilter filter{{paths.resolve("/Applications"), paths.home()}, {}, excludeAppUrls, {}};
    auto apps = findInstalledBundles(bundleLoader_, filter, [&](const AppBundle& bundle) {
        lastURL.insert_or_assign(bundle.bundleID(), bundle.url());
        postToDelegate(
            weak_from_this(), delegate,
            [id = bundle.bundleID(), url = bundle.url()](auto& target) { target.appFound(id, url); });
    });
    subApps_.clear();
    // A sub-application that several main applications list is part of each of them: each hears of
    // it and gets its bundle, whatever order the table is visited in.
    std::unordered_set<CaseInsensitiveString> absorbed;
    for (const auto& [id, bundles] : apps) {
        auto app = makeMacApp(bundles, rules_);
        for (const auto& other : app->bundleIDs()) {
            if (other == id || !apps.count(other))
                continue;
            absorbed.insert(other);
            postToDelegate(weak_from_this(), delegate,
                           [other](auto& target) { target.deleteSubAppFound(other); });
            if (auto url = lastURL.find(other); url != lastURL.end())
                subApps_[id].push_back(recordOf(url->second.path(), addedRecordPriority,
                                                AppFileKind::Tag::support,
                                                App::macApp(MacAppID::bundleID(id))));
        }
    }
    for (const auto& id : absorbed)
        apps.erase(id);
    postToDelegate(weak_from_this(), delegate, [apps](auto& target) { target.appsFound(apps); });
}

void AppFileFinder::startScanAppFiles(const AppBundles& apps) {
    run([apps](AppFileFinder& self) { self.runScanAppFiles(apps); });
}

void AppFileFinder::runScanAppFiles(const AppBundles& apps) {
    auto sizing = DispatchQueue::makeConcurrent("startScanAppFiles(apps:)", QualityOfService::userInitiated);
    auto tools = helperTools();
    auto aliasOf = aliases();
    auto context = FileFinderContext::current();
    for (const auto& [id, bundles] : apps) {
        if (FileFinderContext::currentIsInterrupted())
            break;
        auto app = makeMacApp(bundles, rules_);
        auto records = walkForApplication(finder_, index_, *app, [](const auto&) { return true; });
        if (auto absorbed = subApps_.find(id); absorbed != subApps_.end())
            records.insert(records.end(), absorbed->second.begin(), absorbed->second.end());
        auto owner = App::macApp(MacAppID::bundleID(id));
        if (auto tool = tools.find(id); tool != tools.end() && !holdsURL(records, tool->second))
            records.push_back(
                recordOf(tool->second.path(), addedRecordPriority, AppFileKind::Tag::support, owner));
        for (const auto& url : app->urls)
            if (auto alias = aliasOf.find(url); alias != aliasOf.end())
                records.push_back(
                    recordOf(alias->second.path(), addedRecordPriority, AppFileKind::Tag::shared, owner));
        auto sizeAndReport = [weakDelegate = delegate, id = id, urls = app->urls,
                              records = std::move(records)] {
            AppFileSet set;
            for (const auto& url : urls)
                set.apps.push_back({url, size(url)});
            set.files = FileFinder::appFiles(records);
            DispatchQueue::main()->sync([&] {
                if (auto target = weakDelegate.lock())
                    target->appFilesFound(id, set);
            });
        };
        if (context)
            context->async(sizing, std::move(sizeAndReport));
        else
            sizing->async(std::move(sizeAndReport));
    }
    sizing->asyncBarrier([weakSelf = weak_from_this(), weakDelegate = delegate] {
        postToDelegate(weakSelf, weakDelegate, [](auto& target) { target.scanAppsCompleted(); });
    });
}

void AppFileFinder::startScanLeftoversList() {
    run([](AppFileFinder& self) { self.runLeftoversList(); });
}

bool AppFileFinder::isKnown(const CaseInsensitiveString& id,
                            const std::unordered_set<std::string>& installed) const {
    std::string low = id.lowercaseString();
    if (installed.count(low) || id == CaseInsensitiveString("com.firebase.FIRInstallations") ||
        id.origin().find("is.workflow.") != std::string::npos ||
        (low.find("jetbrains") != std::string::npos && hasJetbrainsApp) ||
        (low.find("plugin.sketch") != std::string::npos && hasSketchApp))
        return true;
    return std::any_of(installed.begin(), installed.end(),
                       [&](const auto& other) { return similarIDs(low, other); });
}

void AppFileFinder::runLeftoversList() {
    // Everything installed counts, system-protected bundles too: what they keep is no leftover.
    InstalledBundleFilter filter{{}, SystemPaths::shared().userLibrary(), {}, {}, false};
    std::unordered_set<std::string> installed;
    for (const auto& id : registeredApplicationIDs())
        installed.insert(CaseInsensitiveString(id).lowercaseString());
    for (const auto& [id, bundles] : findInstalledBundles(bundleLoader_, filter)) {
        installed.insert(id.lowercaseString());
        for (const auto& bundle : bundles)
            for (const auto& nested : bundle->bundleIDs())
                installed.insert(nested.lowercaseString());
        for (const auto& extra : rules_.extraInfo(id.origin()).ids)
            installed.insert(extra.lowercaseString());
    }
    hasJetbrainsApp = std::any_of(installed.begin(), installed.end(),
                                  [](const auto& id) { return id.find("jetbrains") != std::string::npos; });
    hasSketchApp = std::any_of(installed.begin(), installed.end(),
                               [](const auto& id) { return id.find("sketch") != std::string::npos; });
    std::unordered_set<CaseInsensitiveString> harvested;
    predictionAppFiles_ = harvest(harvested);
    for (const auto& id : harvested) {
        bool excluded = std::any_of(excludeLeftoverIds.begin(), excludeLeftoverIds.end(),
                                    [&](const auto& other) { return CaseInsensitiveString(other) == id; });
        if (excluded || isKnown(id, installed))
            continue;
        postToDelegate(weak_from_this(), leftoverDelegate,
                       [id](auto& target) { target.leftoverIDFound(id); });
    }
    postToDelegate(weak_from_this(), leftoverDelegate, [](auto& target) { target.leftoversListCompleted(); });
}

AppFileInfos AppFileFinder::harvest(std::unordered_set<CaseInsensitiveString>& ids) const {
    AppFileInfos records;
    auto add = [&](const std::string& id, const std::string& path, AppFileKind kind) {
        ids.insert(CaseInsensitiveString(id));
        records.push_back(recordOf(path, harvestPriority, std::move(kind), App::app(id)));
    };
    const auto& paths = SystemPaths::shared();
    for (const auto* folder : {"Library/Containers", "Library/Application Scripts"}) {
        std::string path = paths.inHome(folder);
        AppFileKind kind = std::string(folder).find("Containers") != std::string::npos
                               ? AppFileKind::Tag::container
                               : AppFileKind::Tag::support;
        for (const auto& entry : listFolder(path))
            if (auto id = harvestedContainerID(entry.name, entry.isDirectory))
                add(*id, path + "/" + entry.name, kind);
    }
    std::string preferences = paths.inHome("Library/Preferences");
    for (const auto& [name, isFolder, entryKind] : listFolder(preferences)) {
        std::string id = name;
        if (!(isFolder && lowered(preferences + "/" + name).find("jetbrains") != std::string::npos)) {
            if (!endsWith(name, ".plist"))
                continue;
            id.resize(id.size() - 6);
        }
        bool black = blackPreferenceNames_.count(CaseInsensitiveString(id)) > 0 ||
                     std::any_of(blackPreferenceExpressions_.begin(), blackPreferenceExpressions_.end(),
                                 [&](const Regex& expression) { return expression.matches(id); });
        if (black || id.find("com.apple.") != std::string::npos)
            continue;
        add(id, preferences + "/" + name, AppFileKind::Tag::preference);
    }
    return records;
}

void AppFileFinder::startScanLeftoverFiles(const std::vector<CaseInsensitiveString>& ids) {
    run([ids](AppFileFinder& self) { self.runLeftoverFiles(ids); });
    // Queued apart from the context, so that it comes after a stop too, once the walks have ended.
    workQueue_->async([weakSelf = weak_from_this()] {
        if (auto self = weakSelf.lock())
            postToDelegate(weakSelf, self->leftoverDelegate,
                           [](auto& target) { target.leftoverFilesCompleted(); });
    });
}

void AppFileFinder::runLeftoverFiles(const std::vector<CaseInsensitiveString>& ids) {
    for (const auto& leftover : ids) {
        if (FileFinderContext::currentIsInterrupted())
            break;
        CaseInsensitiveString organization(
            PublicSuffixList::shared().organization(leftover.origin()).value_or(""));
        auto nodes = index_.matcherIDs(leftover.origin());
        AppFileInfos records;
        finder_.walk([&](NodeID node) { return nodes.count(node) > 0; },
                     [&](const OwnerID& owner, const std::shared_ptr<FileInfo>& file, const AppFileKind& kind,
                         const RuleID& rule) {
                         if (file->used)
                             return;
                         if (owner && (*owner == leftover || *owner == organization))
                             records.push_back({file, kind, App::app(*owner)});
                         else if (!owner && rule.type() != RuleID::Type::black &&
                                  rule.type() != RuleID::Type::system)
                             records.push_back({file, kind, App::app(leftover)});
                     });
        for (const auto& predicted : predictionAppFiles_)
            if (predicted.owner.id() == leftover && !holdsURL(records, predicted.file->url))
                records.push_back(predicted);
        auto files = FileFinder::appFiles(records);
        postToDelegate(weak_from_this(), leftoverDelegate,
                       [leftover, files](auto& target) { target.leftoverFilesFound(leftover, files); });
    }
}

} // namespace core
