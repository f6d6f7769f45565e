#include "Core/apps/AppFileFinder.h"
#include "Core/apps/AppJunkFinder.h"
#include "Core/apps/ApplicationList.h"

#include "tests/support/AppFixtures.h"
#include "tests/support/RecordingAnalytics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sys/xattr.h>

using namespace core;
using namespace core::testing;

namespace {

const char* const ruleDocument = R"(
"*":
  caches:
    cache: [Lib/Caches/**]
  logs:
    log: [Lib/Logs/**]
  support:
    support: [Lib/Application Support/**, /Library/Application Support/**]
    container: [Lib/Containers/**]
  library:
    preference: ['Lib/Preferences/^(?<id>.+)\.plist$']
"@":
  support:
    preference: [Lib/Preferences/com.example.never.plist, 'Lib/Preferences/^org\.blocked\..*']
"#":
  caches:
    cache: [Lib/Caches/SystemThing]
com.example.suite:
  ids: [com.example.companion]
  organization: Example Corp
  support:
    support: [Lib/Application Support/Example Shared]
com.a.main:
  ids: [com.c.helper]
com.b.main:
  ids: [com.c.helper]
com.apple.dt.Xcode:
  caches:
    cache: [Lib/Developer/Xcode/DerivedData]
)";

// Records what the finders report on the main queue.
class Recorder final : public AppFileFinderDelegate,
                       public LeftoverFileFinderDelegate,
                       public AppJunkFinderDelegate {
public:
    void appFound(const CaseInsensitiveString& id, const URL&) override { found.insert(id.origin()); }
    void deleteSubAppFound(const CaseInsensitiveString& id) override { absorbed.insert(id.origin()); }
    void appsFound(const AppBundles& all) override {
        apps = all;
        done = true;
    }
    void appFilesFound(const CaseInsensitiveString& id, const AppFileSet& set) override {
        files[id.origin()] = set;
    }
    void scanAppsCompleted() override { done = true; }
    void leftoverIDFound(const CaseInsensitiveString& id) override { leftovers.insert(id.origin()); }
    void leftoversListCompleted() override { done = true; }
    void leftoverFilesFound(const CaseInsensitiveString& id, const std::vector<AppFile>& list) override {
        leftoverFiles[id.origin()] = list;
    }
    void leftoverFilesCompleted() override { done = true; }
    void appJunkScanningFile(const URL&) override {}
    void appJunkProgressChanged(double value) override { progress = value; }
    void appJunkMacAppJunkFound(const MacAppJunkFile& junk) override {
        appJunk[junk.bundleID.origin()] = junk.files;
    }
    void appJunkFound(const CaseInsensitiveString& id, const std::vector<AppFile>& list) override {
        orphanJunk[id.origin()] = list;
    }
    void appJunkMacAppExtraJunkFound(const MacAppJunkFile& junk) override {
        extraJunk[junk.bundleID.origin()] = junk.files;
    }
    void appJunkScanCompleted() override { done = true; }

    bool wait() {
        bool finished = DispatchQueue::runUntil([this] { return done; }, std::chrono::seconds(20));
        DispatchQueue::drainMain();
        done = false;
        return finished;
    }

    std::set<std::string> found, leftovers;
    std::multiset<std::string> absorbed;
    AppBundles apps;
    std::map<std::string, AppFileSet> files;
    std::map<std::string, std::vector<AppFile>> leftoverFiles, appJunk, orphanJunk, extraJunk;
    double progress = 0;
    bool done = false;
};

std::map<std::string, std::string> pathsAndOwners(const std::vector<AppFile>& files,
                                                  const std::string& home) {
    std::map<std::string, std::string> listed;
    for (const auto& file : files) {
        auto path = file.url.path();
        listed[path.rfind(home, 0) == 0 ? "~" + path.substr(home.size()) : path] =
            file.kind.key() + " " + file.owner.id().origin();
    }
    return listed;
}

class AppScanTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto loaded = RuleManager::fromDocument(ruleDocument, RuleManager::currentRoots());
        ASSERT_TRUE(loaded.manager) << loaded.error;
        rules = loaded.manager;
        full = std::make_unique<AppFileRule>(*rules, true);
        cacheAndLog = std::make_unique<AppFileRule>(*rules, false);
        finder = AppFileFinder::make(*rules, *full);
        finder->delegate = recorder;
        finder->leftoverDelegate = recorder;
    }

    AppBundles scanApps() {
        finder->scan();
        EXPECT_TRUE(recorder->wait());
        return recorder->apps;
    }
    std::map<std::string, std::string> filesOf(const std::string& id) {
        return pathsAndOwners(recorder->files[id].files, home.path());
    }

    TempTree root, home;
    ScopedSystemPaths paths{root.path(), home.path()};
    ScopedMountTable volumes{{}};
    std::shared_ptr<const RuleManager> rules;
    std::unique_ptr<AppFileRule> full, cacheAndLog;
    std::shared_ptr<AppFileFinder> finder;
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

TEST_F(AppScanTest, AnApplicationNamedInAnotherRulesIdsIsAbsorbed) {
    writeBundle(root, "Applications/Suite.app", "com.example.suite", "Suite");
    writeBundle(root, "Applications/Companion.app", "com.example.companion", "Companion");
    writeBundle(root, "Applications/Copies/Suite.app", "com.example.suite", "Suite");
    writeBundle(root, "Applications/Other.app", "org.other.tool");
    auto apps = scanApps();
    EXPECT_EQ(recorder->found,
              (std::set<std::string>{"com.example.suite", "com.example.companion", "org.other.tool"}));
    EXPECT_EQ(recorder->absorbed, (std::multiset<std::string>{"com.example.companion"}));
    EXPECT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps.at("com.example.suite").size(), 2u);

    finder->startScanAppFiles(apps);
    ASSERT_TRUE(recorder->wait());
    const auto& suite = recorder->files["com.example.suite"];
    EXPECT_EQ(suite.apps.size(), 2u);
    EXPECT_EQ(filesOf("com.example.suite")[root.at("Applications/Companion.app")],
              "support com.example.suite");
}

TEST_F(AppScanTest, ASubApplicationListedByTwoApplicationsIsPartOfBoth) {
    writeBundle(root, "Applications/A.app", "com.a.main", "A");
    writeBundle(root, "Applications/B.app", "com.b.main", "B");
    writeBundle(root, "Applications/C.app", "com.c.helper", "C");
    auto apps = scanApps();
    EXPECT_EQ(recorder->absorbed, (std::multiset<std::string>{"com.c.helper", "com.c.helper"}));
    EXPECT_EQ(apps.size(), 2u);
    EXPECT_FALSE(apps.count("com.c.helper"));

    finder->startScanAppFiles(apps);
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(filesOf("com.a.main")[root.at("Applications/C.app")], "support com.a.main");
    EXPECT_EQ(filesOf("com.b.main")[root.at("Applications/C.app")], "support com.b.main");
}

TEST_F(AppScanTest, FilesAreOwnedByIdentifierNameOrOrganisation) {
    writeBundle(root, "Applications/Suite.app", "com.example.suite", "Suite");
    writeBundle(root, "Applications/Suite.app/Contents/Library/LoginItems/Helper.app",
                "com.example.suite.helper");
    writeBundle(root, "Applications/Writer.app", "com.example.writer", "Writer");
    home.file("Library/Caches/com.example.suite/a", 100);
    home.file("Library/Caches/com.example.suite.helper/a", 100);
    home.file("Library/Caches/Suite/a", 100);
    home.file("Library/Application Support/Example Corp/a", 100);
    home.file("Library/Application Support/Example Shared/a", 100);
    home.file("Library/Caches/org.someone.else/a", 100);
    root.file("Library/Application Support/Apple/a", 100);
    scanApps();
    finder->startScanAppFiles(recorder->apps);
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(filesOf("com.example.suite"),
              (std::map<std::string, std::string>{
                  {"~/Library/Application Support/Example Corp", "support Example Corp"},
                  {"~/Library/Application Support/Example Shared", "support com.example.suite"},
                  {"~/Library/Caches/Suite", "cache Suite"},
                  {"~/Library/Caches/com.example.suite", "cache com.example.suite"},
                  {"~/Library/Caches/com.example.suite.helper", "cache com.example.suite.helper"},
              }));
    // The writer's organisation, from the public suffix list, is "example", not "Example Corp".
    EXPECT_TRUE(filesOf("com.example.writer").empty());
    for (const auto& [id, set] : recorder->files)
        for (const auto& file : set.files)
            EXPECT_EQ(file.url.path().find("Application Support/Apple"), std::string::npos);
}

TEST_F(AppScanTest, AliasesAndHelperToolsJoinTheirApplication) {
    writeBundle(root, "Elsewhere/Tool.app", "com.example.tool", "Tool");
    writeBundle(root, "Applications/Tool.app", "com.example.tool", "Tool");
    // On a volume, an absolute link names a path of that volume.
    ::symlink("/Applications/Tool.app", root.at("Applications/Tool Link").c_str());
    root.file("Library/PrivilegedHelperTools/com.example.tool.daemon", 500);
    writePlist(root.at("Library/PrivilegedHelperTools/com.example.tool.daemon.plist"), {});
    std::ofstream(root.at("Library/PrivilegedHelperTools/com.example.tool.daemon.plist"))
        << R"(<?xml version="1.0"?><plist version="1.0"><dict><key>SMAuthorizedClients</key><array>)"
        << R"(<string>anchor apple generic and identifier "com.example.tool" and certificate leaf[subject.OU] = "ABCDE12345"</string>)"
        << "</array></dict></plist>";
    scanApps();
    finder->startScanAppFiles(recorder->apps);
    ASSERT_TRUE(recorder->wait());
    auto files = filesOf("com.example.tool");
    EXPECT_EQ(files[root.at("Applications/Tool Link")], "shared com.example.tool");
    EXPECT_EQ(files[root.at("Library/PrivilegedHelperTools/com.example.tool.daemon")],
              "support com.example.tool");
}

TEST_F(AppScanTest, LeftoversAreWhatNoInstalledApplicationExplains) {
    writeBundle(root, "Applications/App.app", "com.example.app", "App");
    home.folder("Library/Containers/ABCDE12345.com.gone.tool");
    home.folder("Library/Containers/group.com.gone.shared");
    home.folder("Library/Containers/com.apple.Notes");
    home.folder("Library/Containers/com.example.app.helper");
    home.file("Library/Preferences/com.example.never.plist", 1);
    home.file("Library/Preferences/org.blocked.thing.plist", 1);
    home.file("Library/Preferences/com.example.other.plist", 1);
    home.file("Library/Preferences/org.acme.one.plist", 1);
    home.file("Library/Preferences/notes.txt", 1);
    home.file("Library/Caches/org.acme.one/data", 5000);
    home.file("Library/Caches/com.example.app/data", 5000);
    home.file("Library/Caches/SystemThing/data", 5000);
    finder->excludeLeftoverIds = {"com.gone.shared"};
    scanApps();
    finder->startScanAppFiles(recorder->apps);
    ASSERT_TRUE(recorder->wait());
    finder->startScanLeftoversList();
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(recorder->leftovers, (std::set<std::string>{"com.gone.tool", "org.acme.one"}));

    finder->startScanLeftoverFiles(
        {CaseInsensitiveString("org.acme.one"), CaseInsensitiveString("com.example.app")});
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(pathsAndOwners(recorder->leftoverFiles["org.acme.one"], home.path()),
              (std::map<std::string, std::string>{
                  {"~/Library/Caches/org.acme.one", "cache org.acme.one"},
                  {"~/Library/Preferences/org.acme.one.plist", "preference org.acme.one"}}));
    // What the installed application took is not offered again.
    EXPECT_TRUE(recorder->leftoverFiles["com.example.app"].empty());
}

TEST_F(AppScanTest, EveryInstalledBundleExplainsLeftoversEvenThoseNoScanOffers) {
    auto protectedApp = writeBundle(root, "Applications/Guard.app", "com.vendor.guard", "Guard");
    ASSERT_EQ(::setxattr(protectedApp.c_str(), "user.com.apple.rootless", "", 0, 0), 0);
    writeBundle(root, "Applications/Installer.app", "com.sogou.SogouInstaller", "Installer");
    writeBundle(home, "Library/Bundled/Hidden.app", "com.hidden.inlibrary", "Hidden");
    home.folder("Library/Containers/com.vendor.guard");
    home.folder("Library/Containers/com.sogou.SogouInstaller.agent");
    home.folder("Library/Containers/com.hidden.inlibrary");
    home.folder("Library/Containers/com.registered.only");
    ScopedCommand registered(
        launchServicesRegister,
        writeScript(home, "lsregister", "printf 'bundle id:  com.registered.only\\nno identifier here\\n'"));
    finder->startScanLeftoversList();
    ASSERT_TRUE(recorder->wait());
    // The application scan offers neither the protected bundle nor the installer, yet both are
    // installed; a bundle in the user's Library is not.
    EXPECT_EQ(recorder->leftovers, (std::set<std::string>{"com.hidden.inlibrary"}));
}

TEST_F(AppScanTest, OnlyTheLeadingGroupPrefixIsDropped) {
    writeBundle(root, "Applications/Mine.app", "com.mygroup.app", "Mine");
    home.folder("Library/Containers/group.com.mygroup.app");
    home.folder("Library/Containers/GROUP.org.thegroup.gone");
    home.folder(
        "Library/Containers/group.\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130group.x");
    home.folder("Library/Containers/ABCDE12345.group.org.team.gone");
    scanApps();
    finder->startScanLeftoversList();
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(recorder->leftovers,
              (std::set<std::string>{"org.thegroup.gone", "org.team.gone",
                                     "\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130group.x"}));

    finder->startScanLeftoverFiles(
        {CaseInsensitiveString("com.myapp"), CaseInsensitiveString("com.mygroup.app")});
    ASSERT_TRUE(recorder->wait());
    EXPECT_TRUE(recorder->leftoverFiles["com.myapp"].empty());
}

TEST_F(AppScanTest, LeftoverFilesCompleteAfterAStop) {
    for (const auto* id : {"org.gone.one", "org.gone.two", "org.gone.three"})
        home.file(std::string("Library/Caches/") + id + "/data", 100);
    finder->startScanLeftoverFiles({"org.gone.one", "org.gone.two", "org.gone.three"});
    finder->stop();
    EXPECT_TRUE(recorder->wait());

    // A later scan runs in full.
    finder->startScanLeftoverFiles({"org.gone.one", "org.gone.two", "org.gone.three"});
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(recorder->leftoverFiles.size(), 3u);
}

TEST(SimilarIDs, AgreementFromTheStartDecides) {
    EXPECT_TRUE(similarIDs("com.example.app.helper", "com.example.app"));
    EXPECT_TRUE(similarIDs("com.example.other", "com.example.app"));
    EXPECT_FALSE(similarIDs("com.acme.one", "org.acme.one"));
    EXPECT_FALSE(similarIDs("com.example.a.b", "com.example.c.d"));
    EXPECT_TRUE(similarIDs("com.jetbrains.pycharm.ce", "org.jetbrains.pycharm"));
    // Containment comes first: the empty id is in every other.
    EXPECT_TRUE(similarIDs("", "x"));
    EXPECT_FALSE(similarIDs("..", "x"));
}

TEST_F(AppScanTest, ApplicationStageOfTheJunkScanKeepsToTheSwitches) {
    ScopedRecordingAnalytics analytics;
    writeBundle(root, "Applications/Suite.app", "com.example.suite", "Suite");
    writeBundle(root, "Applications/Xcode.app", "com.apple.dt.Xcode", "Xcode");
    home.file("Library/Caches/com.example.suite/a", 100);
    home.file("Library/Logs/Suite/a.log", 100);
    home.file("Library/Caches/com.gone.tool/a", 100);
    home.file("Library/Caches/SystemThing/a", 100);
    home.file("Library/Caches/excluded.one/a", 100);
    home.file("Library/Developer/Xcode/DerivedData/Build/a.o", 100);
    auto junk = AppJunkFinder::make(*rules, *cacheAndLog);
    junk->delegate = recorder;
    junk->exclubeFilesUrls = {URL::fileURL(home.at("Library/Caches/excluded.one"))};
    junk->start({true, false, true, false});
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(pathsAndOwners(recorder->appJunk["com.example.suite"], home.path()),
              (std::map<std::string, std::string>{
                  {"~/Library/Caches/com.example.suite", "cache com.example.suite"}}));
    EXPECT_EQ(pathsAndOwners(recorder->extraJunk["com.apple.dt.Xcode"], home.path()),
              (std::map<std::string, std::string>{
                  {"~/Library/Developer/Xcode/DerivedData", "cache com.apple.dt.Xcode"}}));
    EXPECT_EQ(recorder->orphanJunk.size(), 1u);
    EXPECT_EQ(
        pathsAndOwners(recorder->orphanJunk["com.gone.tool"], home.path()),
        (std::map<std::string, std::string>{{"~/Library/Caches/com.gone.tool", "cache com.gone.tool"}}));
    EXPECT_DOUBLE_EQ(recorder->progress, 1.0);
    auto events = analytics->eventsFor("findApp");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].params.at("num"), "2");

    recorder->appJunk.clear();
    recorder->extraJunk.clear();
    junk->start({false, true, false, false});
    ASSERT_TRUE(recorder->wait());
    EXPECT_EQ(pathsAndOwners(recorder->appJunk["com.example.suite"], home.path()),
              (std::map<std::string, std::string>{{"~/Library/Logs/Suite", "log Suite"}}));
    EXPECT_TRUE(recorder->extraJunk.empty());
}

} // namespace
