// Lists the installed applications and finds every file of each chosen one by the full matcher
// index; and finds the leftovers of applications that are gone, working back from the names in
// the user's Library.
//
// Threading: the public operations return at once. Discovery and walks run one job at a time on
// the finder's work queue, under its FileFinderContext; sizing runs concurrently; the delegates
// are called on the main queue.
#pragma once

#include "Core/apps/InstalledApps.h"
#include "Core/foundation/FileFinderContext.h"

#include <memory>
#include <unordered_set>

namespace core {

class AppFileFinderDelegate {
public:
    virtual ~AppFileFinderDelegate() = default;
    virtual void appFound(const CaseInsensitiveString& id, const URL& url) = 0;
    // An application reported before turned out to be part of another one.
    virtual void deleteSubAppFound(const CaseInsensitiveString& id) = 0;
    virtual void appsFound(const AppBundles& apps) = 0;
    virtual void appFilesFound(const CaseInsensitiveString& id, const AppFileSet& set) = 0;
    virtual void scanAppsCompleted() = 0;
};

class LeftoverFileFinderDelegate {
public:
    virtual ~LeftoverFileFinderDelegate() = default;
    virtual void leftoverIDFound(const CaseInsensitiveString& id) = 0;
    virtual void leftoversListCompleted() = 0;
    virtual void leftoverFilesFound(const CaseInsensitiveString& id, const std::vector<AppFile>& files) = 0;
    virtual void leftoverFilesCompleted() = 0;
};

class AppFileFinder : public std::enable_shared_from_this<AppFileFinder> {
public:
    // Over the process-wide rules and index.
    static std::shared_ptr<AppFileFinder> make();
    static std::shared_ptr<AppFileFinder> make(const RuleManager& rules, const AppFileRule& index);
    // Builds the rules and both indexes in the background, ahead of a first scan.
    static void prepare();

    std::vector<URL> excludeAppUrls;
    std::vector<std::string> excludeLeftoverIds;
    bool hasJetbrainsApp = false;
    bool hasSketchApp = false;
    std::weak_ptr<AppFileFinderDelegate> delegate;
    std::weak_ptr<LeftoverFileFinderDelegate> leftoverDelegate;

    // Installs a new context without starting anything.
    void setContext();
    // Finds the installed applications: appFound for each, deleteSubAppFound for those absorbed by
    // another, then appsFound.
    void scan();
    // appFilesFound for each application, then scanAppsCompleted.
    void startScanAppFiles(const AppBundles& apps);
    // leftoverIDFound for each candidate, then leftoversListCompleted.
    void startScanLeftoversList();
    // leftoverFilesFound for each id, then leftoverFilesCompleted.
    void startScanLeftoverFiles(const std::vector<CaseInsensitiveString>& ids);
    void stop();

    // Whether a harvested identifier belongs to, or resembles, an installed one.
    bool isKnown(const CaseInsensitiveString& id, const std::unordered_set<std::string>& installed) const;

private:
    AppFileFinder(const RuleManager& rules, const AppFileRule& index);
    void run(std::function<void(AppFileFinder&)> job);

    void runScan();
    void runScanAppFiles(const AppBundles& apps);
    void runLeftoversList();
    AppFileInfos harvest(std::unordered_set<CaseInsensitiveString>& ids) const;
    void runLeftoverFiles(const std::vector<CaseInsensitiveString>& ids);

    const RuleManager& rules_;
    const AppFileRule& index_;
    FileFinder finder_;
    AppBundleLoader bundleLoader_;
    std::shared_ptr<FileFinderContext> context_;
    DispatchQueuePtr workQueue_;
    std::unordered_map<CaseInsensitiveString, AppFileInfos> subApps_;
    AppFileInfos predictionAppFiles_;
    // The preference names and expressions the black rule keeps out of the leftovers.
    std::unordered_set<CaseInsensitiveString> blackPreferenceNames_;
    std::vector<Regex> blackPreferenceExpressions_;
};

// Whether two lower-cased identifiers resemble each other: one contains the other, they name the
// same product of one vendor, or more than half of the shorter agrees from its start.
bool similarIDs(const std::string& a, const std::string& b);

} // namespace core
