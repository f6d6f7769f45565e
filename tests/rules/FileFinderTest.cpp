#include "Core/rules/FileFinder.h"

#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

using namespace core;
using core::testing::ScopedRecordingAnalytics;
using core::testing::TempTree;

namespace {

struct Claim {
    std::string path;
    std::string owner;
    std::string kind;
    std::string rule;
    friend bool operator<(const Claim& a, const Claim& b) {
        return std::tie(a.path, a.owner, a.kind, a.rule) < std::tie(b.path, b.owner, b.kind, b.rule);
    }
    friend bool operator==(const Claim&, const Claim&) = default;
};

std::ostream& operator<<(std::ostream& out, const Claim& claim) {
    return out << claim.path << " owner=" << claim.owner << " kind=" << claim.kind << " rule=" << claim.rule;
}

class FileFinderTest : public ::testing::Test {
protected:
    void build(const std::string& yaml) {
        auto loaded =
            RuleManager::fromDocument(yaml, {root.path(), home.path(), home.at("Library"), root.at("tmp")});
        ASSERT_TRUE(loaded.manager) << loaded.error;
        rules = loaded.manager;
        index = std::make_unique<AppFileRule>(*rules, true);
        finder = std::make_unique<FileFinder>(*index);
    }

    // Walks for one application (or all with an empty id) and answers the claims, sorted, with
    // paths relative to the home folder.
    std::vector<Claim> walk(const std::string& application = "") {
        auto ids = index->matcherIDs(application);
        std::vector<Claim> claims;
        finder->walk([&](NodeID id) { return application.empty() || ids.count(id); },
                     [&](const OwnerID& owner, const std::shared_ptr<FileInfo>& file, const AppFileKind& kind,
                         const RuleID& rule) {
                         claims.push_back({file->url.path().substr(home.path().size() + 1),
                                           owner ? owner->origin() : "-", kind.key(), rule.description()});
                     });
        std::sort(claims.begin(), claims.end());
        return claims;
    }

    TempTree root, home;
    std::shared_ptr<const RuleManager> rules;
    std::unique_ptr<AppFileRule> index;
    std::unique_ptr<FileFinder> finder;
};

TEST_F(FileFinderTest, AttributesEachEntryOfAListedFolderToItsOwner) {
    home.file("Library/Caches/com.example.app/blob", 10);
    home.file("Library/Caches/org.other.tool", 10);
    home.file("Library/Preferences/Com.Example.App.plist", 10);
    home.file("Library/Preferences/notes.txt", 10);
    build(R"(
"*":
  caches:
    cache: [Lib/Caches/**]
  library:
    preference: ["Lib/Preferences/^(?<id>.+)\\.plist$"]
)");
    EXPECT_EQ(walk(), (std::vector<Claim>{
                          {"Library/Caches/com.example.app", "com.example.app", "cache", "*"},
                          {"Library/Caches/org.other.tool", "org.other.tool", "cache", "*"},
                          {"Library/Preferences/Com.Example.App.plist", "Com.Example.App", "preference", "*"},
                      }));
    EXPECT_EQ(finder->listingCount(), 2u);
}

TEST_F(FileFinderTest, OwnerOfABundleRuleIsItsIdentifierUnlessThePathNamesOne) {
    home.file("Library/Application Support/Example/data", 10);
    home.file("Library/Logs/Example/2024/a.log", 10);
    build(R"(
com.example.app:
  support:
    support: [Lib/Application Support/Example]
  logs:
    log: [Lib/Logs/**/*]
)");
    EXPECT_EQ(walk("com.example.app"),
              (std::vector<Claim>{
                  {"Library/Application Support/Example", "com.example.app", "support", "com.example.app"},
                  {"Library/Logs/Example/2024", "Example", "log", "com.example.app"}}));
}

TEST_F(FileFinderTest, AMissingLiteralIsLookedUpOnceForAllApplications) {
    build("a.app:\n  caches:\n    cache: [Lib/Caches/Missing]\nb.app:\n  caches:\n    cache: "
          "[Lib/Caches/Missing]\n");
    EXPECT_TRUE(walk("a.app").empty());
    auto lookups = finder->lookupCount();
    EXPECT_TRUE(walk("b.app").empty());
    EXPECT_EQ(finder->lookupCount(), lookups);
    EXPECT_EQ(finder->listingCount(), 0u);
}

TEST_F(FileFinderTest, AListedFolderAnswersLaterLiteralLookupsByIgnoringCase) {
    home.file("Library/Caches/Example/x", 1);
    build("\"*\":\n  caches:\n    cache: ['5:Lib/Caches/*']\na.app:\n  caches:\n    cache: "
          "['5:Lib/Caches/EXAMPLE', '5:Lib/Caches/Gone']\n");
    walk();
    auto lookups = finder->lookupCount();
    home.file("Library/Caches/Gone", 1);
    auto claims = walk("a.app");
    EXPECT_EQ(claims, (std::vector<Claim>{{"Library/Caches/Example", "-", "cache", "*"},
                                          {"Library/Caches/Example", "a.app", "cache", "a.app"}}));
    EXPECT_EQ(finder->lookupCount(), lookups);
    finder->clearCache();
    EXPECT_EQ(walk("a.app").size(), 3u);
}

TEST_F(FileFinderTest, TheFirstPriorityToClaimAFileKeepsIt) {
    home.file("Library/Application Support/Example", 1);
    build(R"(
"*":
  caches:
    cache: [Lib/Application Support/**]
a.app:
  support:
    support: [Lib/Application Support/Example]
    shared: ["41:Lib/Application Support/Example"]
)");
    auto forApp = walk("a.app");
    EXPECT_EQ(forApp,
              (std::vector<Claim>{{"Library/Application Support/Example", "a.app", "shared", "a.app"},
                                  {"Library/Application Support/Example", "a.app", "support", "a.app"}}));
    // The base rule's claim of priority 10 is passed over, in this walk and the next.
    EXPECT_TRUE(walk("org.unknown").empty());
}

TEST_F(FileFinderTest, AWalkRefusingEverythingTouchesNoFolder) {
    home.file("Library/Caches/x", 1);
    build("\"*\":\n  caches:\n    cache: [Lib/Caches/**]\n");
    finder->walk([](NodeID) { return false; }, [](auto&&...) { ADD_FAILURE(); });
    EXPECT_EQ(finder->listingCount(), 0u);
    EXPECT_EQ(finder->lookupCount(), 0u);
}

TEST_F(FileFinderTest, AnyClaimsSubfoldersWholeUnlessAlreadyEntered) {
    home.file("Library/Logs/App/deep/x.log", 1);
    home.file("Library/Logs/Other/y.log", 1);
    home.file("Library/Logs/top.log", 1);
    build("a.app:\n  logs:\n    log: [Lib/Logs/App/deep, '10:Lib/Logs/*']\n");
    EXPECT_EQ(walk(), (std::vector<Claim>{{"Library/Logs/App/deep", "a.app", "log", "a.app"},
                                          {"Library/Logs/Other", "a.app", "log", "a.app"},
                                          {"Library/Logs/top.log", "a.app", "log", "a.app"}}));
}

TEST_F(FileFinderTest, RecordsBecomeAppFilesSizedOnce) {
    auto blob = home.file("Library/Caches/Example/blob", 5000);
    build("a.app:\n  caches:\n    cache: [Lib/Caches/Example]\n");
    std::vector<FileFinder::Record> records;
    finder->walk([](NodeID) { return true; },
                 [&](const OwnerID&, const auto& file, const AppFileKind& kind, const RuleID&) {
                     records.push_back({file, kind, App::macApp(MacAppID::bundleID("a.app"))});
                 });
    ASSERT_EQ(records.size(), 1u);
    auto files = FileFinder::appFiles(records);
    EXPECT_EQ(files[0].size, core::testing::allocatedBytes(blob));
    home.file("Library/Caches/Example/more", 100000);
    EXPECT_EQ(FileFinder::appFiles(records)[0].size, files[0].size);
    EXPECT_EQ(files[0].kind, AppFileKind(AppFileKind::Tag::cache));
}

TEST_F(FileFinderTest, AnExpressionThatRunsAwayMatchesNothingAndIsReported) {
    ScopedRecordingAnalytics recorded;
    home.file("Library/Caches/" + std::string(40, 'a') + "b", 1);
    home.file("Library/Caches/aaa", 1);
    build("a.app:\n  caches:\n    cache: ['Lib/Caches/^(a+)+$']\n");
    EXPECT_EQ(walk("a.app"), (std::vector<Claim>{{"Library/Caches/aaa", "a.app", "cache", "a.app"}}));
    auto logs = recorded->logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_NE(logs[0].text.find("entry=Lib/Caches/^(a+)+$"), std::string::npos);
    EXPECT_NE(logs[0].text.find(std::string(40, 'a') + "b"), std::string::npos);
}

TEST_F(FileFinderTest, EntriesThatClimbOutOfTheirRootFindNothing) {
    root.file("etc/passwd", 10);
    root.file("tmp/x", 10);
    home.file("Library/Logs/kept.log", 10);
    build("a.app:\n  logs:\n    log: ['Home/../etc/*', 'Lib/../../etc', '/../../tmp/x', "
          "'Lib/Caches/../Logs/*']\n");
    EXPECT_EQ(walk("a.app"), (std::vector<Claim>{{"Library/Logs/kept.log", "a.app", "log", "a.app"}}));
    EXPECT_EQ(rules->dropped.size(), 3u);
}

TEST_F(FileFinderTest, ALiteralBehindADanglingLinkDoesNotExist) {
    auto target = home.file("Library/Caches/Target", 10);
    std::filesystem::create_symlink(target, home.at("Library/Caches/Linked"));
    std::filesystem::create_symlink(home.at("Library/Caches/Gone"), home.at("Library/Caches/Dangling"));
    build("a.app:\n  caches:\n    cache: [Lib/Caches/Linked, Lib/Caches/Dangling]\n");
    EXPECT_EQ(walk("a.app"), (std::vector<Claim>{{"Library/Caches/Linked", "a.app", "cache", "a.app"}}));
}

} // namespace
