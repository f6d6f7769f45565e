// Runs the real tidewell binary as a child process on a macOS-like tree, as a user or script would.
#include "tests/cli/TidewellRun.h"
#include "tests/support/AppFixtures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

using core::testing::TempTree;
using namespace core::testing;

namespace {

class TidewellTest : public ::testing::Test {
protected:
    std::string globals() const {
        return "--root " + shellQuoted(root.path()) + " --home " + shellQuoted(home.path());
    }
    TempTree root, home, scratch;
};

TEST_F(TidewellTest, JunkJsonHasEveryCategoryAndTheFindsWithSizes) {
    root.file("Library/Caches/com.example.cache", 2000);
    root.file("private/var/log/system.log", 300);
    root.file("private/var/log/system.log.1", 300);
    auto log = scratch.at("analytics.jsonl");
    auto run = tidewell("junk --json --only systemCaches,systemLogs " + globals() + " --analytics-log " +
                        shellQuoted(log));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    for (const auto* key :
         {"systemCaches", "systemLogs", "trash", "diskImages", "purgeableSpace", "downloads", "screenshots",
          "mailDownloads", "appJunk", "appExtraJunk", "orphanJunk"})
        EXPECT_TRUE(json.at(key).is_array()) << key;
    EXPECT_EQ(json["systemCaches"],
              nlohmann::json::parse(R"([{"path": ")" + root.at("Library/Caches/com.example.cache") +
                                    R"(", "size": 2000}])"));
    EXPECT_EQ(json["systemLogs"],
              nlohmann::json::parse(R"([{"path": ")" + root.at("private/var/log/system.log") +
                                    R"(", "size": 300}])"));
    EXPECT_EQ(json["screenshotScanSkipped"], true);

    std::vector<std::string> parts;
    std::istringstream lines(slurp(log));
    for (std::string line; std::getline(lines, line);) {
        auto entry = nlohmann::json::parse(line);
        EXPECT_EQ(entry["event"], 2);
        parts.push_back(entry["params"]["part"]);
        if (parts.back() == "systemLog") {
            EXPECT_EQ(entry["params"]["size"], "300");
        }
    }
    EXPECT_EQ(parts, (std::vector<std::string>{"systemCache", "systemLog"}));
}

TEST_F(TidewellTest, GlobalOptionsMayFollowTheSubcommand) {
    root.file("Library/Caches/x", 10);
    auto before = tidewell("--json " + globals() + " junk --only systemCaches");
    auto after = tidewell("junk --only systemCaches " + globals() + " --json");
    ASSERT_EQ(before.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(before.out), nlohmann::json::parse(after.out));
}

TEST_F(TidewellTest, ExcludedPathIsNotReported) {
    root.file("Library/Caches/keep", 10);
    root.file("Library/Caches/drop", 10);
    auto run = tidewell("junk --json --only systemCaches " + globals() + " --exclude " +
                        shellQuoted(root.at("Library/Caches/drop")));
    ASSERT_EQ(run.exitCode, 0);
    auto found = nlohmann::json::parse(run.out)["systemCaches"];
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]["path"], root.at("Library/Caches/keep"));
}

TEST_F(TidewellTest, HumanReportHasATableAndATotal) {
    root.file("Library/Caches/x", 1500);
    auto run = tidewell("junk --only systemCaches " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("systemCaches"), std::string::npos);
    EXPECT_NE(run.out.find("1.5 kB"), std::string::npos);
    EXPECT_NE(run.out.find("Total"), std::string::npos);
}

TEST_F(TidewellTest, BadInputIsOneLineAndExitCodeTwo) {
    auto errors = scratch.at("stderr");
    auto unknown = tidewell("junk --only systemCaches,bogus " + globals(), errors);
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_NE(slurp(errors).find("unknown junk category: bogus"), std::string::npos);
    EXPECT_TRUE(unknown.out.empty());

    auto missingRoot = tidewell("junk --root " + shellQuoted(root.at("nowhere")), errors);
    EXPECT_EQ(missingRoot.exitCode, 2);
    auto message = slurp(errors);
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);

    EXPECT_EQ(tidewell("junk --resources " + shellQuoted(root.at("nowhere")) + " " + globals()).exitCode, 2);
    EXPECT_EQ(tidewell("no-such-command").exitCode, 2);
}

TEST_F(TidewellTest, SizeCountsFilesByLengthAndFoldersByAllocation) {
    auto file = scratch.file("one", 1234);
    auto run = tidewell("size --json " + shellQuoted(file) + " " + shellQuoted(scratch.at("missing")));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[0]["size"], 1234);
    EXPECT_EQ(json[1]["size"], 0);
}

} // namespace

namespace {

TEST_F(TidewellTest, LargeListsTheHomeFoldersBigFilesBiggestFirst) {
    home.file("videos/film.mkv", 3 * 1024 * 1024);
    home.file("docs/thesis.pdf", 2 * 1024 * 1024);
    home.file("docs/notes.txt", 1000);
    auto run = tidewell("large --json --min-size 1M " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(run.out),
              nlohmann::json::parse(R"([{"path": ")" + home.at("videos/film.mkv") +
                                    R"(", "size": 3145728}, )" + R"({"path": ")" +
                                    home.at("docs/thesis.pdf") + R"(", "size": 2097152}])"));
    EXPECT_EQ(tidewell("large --min-size 1X " + globals()).exitCode, 2);
}

TEST_F(TidewellTest, JunkReportsTrashDownloadsAndTheirLog) {
    home.file(".local/share/Trash/files/old.iso", 5000);
    home.file("Downloads/setup.deb", 700);
    auto log = scratch.at("analytics.jsonl");
    auto run = tidewell("junk --json --only trashFiles,downloadsFiles " + globals() + " --analytics-log " +
                        shellQuoted(log));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json["trash"].size(), 1u);
    EXPECT_EQ(json["trash"][0]["path"], home.at(".local/share/Trash/files/old.iso"));
    ASSERT_EQ(json["downloads"].size(), 1u);
    EXPECT_EQ(json["downloads"][0]["size"], 700);
    auto lines = slurp(log);
    EXPECT_NE(lines.find("[TrashScan] found_item"), std::string::npos);
    EXPECT_NE(lines.find(R"("part":"downloads")"), std::string::npos);
}

} // namespace

namespace {

TEST_F(TidewellTest, OrgNamesTheOrganisationVendorAndGroup) {
    auto run = tidewell("org --json com.example.app uk.co.example.app com.microsoft.Word");
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[0]["organization"], "example");
    EXPECT_EQ(json[1]["organization"], "example");
    EXPECT_EQ(json[0]["vendor"], "Other");
    EXPECT_TRUE(json[0]["group"].is_null());
    EXPECT_EQ(json[2]["vendor"], "Microsoft");
    EXPECT_EQ(json[2]["group"], "Microsoft Office");
    EXPECT_EQ(tidewell("org --resources " + shellQuoted(scratch.path()) + " com.example.app").exitCode, 2);
}

TEST_F(TidewellTest, RulesShowTheShippedDocumentWithNothingDropped) {
    auto run = tidewell("rules --json");
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    EXPECT_TRUE(json["dropped"].empty());
    EXPECT_GE(json["rules"]["bundleID"].get<int>(), 60);
    EXPECT_GT(json["indexes"]["full"]["nodes"].get<int>(),
              json["indexes"]["cacheAndLog"]["nodes"].get<int>());
}

TEST_F(TidewellTest, RulesCheckListsDroppedEntriesAndRefusesBrokenDocuments) {
    auto document = scratch.file("rules.yaml");
    std::ofstream(document)
        << "com.example.app:\n  caches:\n    cache: [Lib/Caches/Example, Var/x/y, 'Lib/^(bad']\n";
    auto run = tidewell("rules --json --check " + shellQuoted(document));
    EXPECT_EQ(run.exitCode, 1);
    auto dropped = nlohmann::json::parse(run.out)["dropped"];
    ASSERT_EQ(dropped.size(), 2u);
    EXPECT_EQ(dropped[0]["entry"], "Var/x/y");
    EXPECT_NE(dropped[0]["reason"].get<std::string>().find("unknown root"), std::string::npos);

    std::ofstream(document) << "'': {}\n";
    EXPECT_EQ(tidewell("rules --check " + shellQuoted(document)).exitCode, 2);
}

TEST_F(TidewellTest, RulesEncryptAndDecryptRoundTrip) {
    auto plain = scratch.file("plain.yaml");
    std::ofstream(plain) << "com.example.app:\n  organization: Example\n";
    auto cipher = scratch.at("rules.txt"), back = scratch.at("back.yaml");
    ASSERT_EQ(tidewell("rules --encrypt " + shellQuoted(plain) + " " + shellQuoted(cipher)).exitCode, 0);
    EXPECT_NE(slurp(cipher), slurp(plain));
    ASSERT_EQ(tidewell("rules --decrypt " + shellQuoted(cipher) + " " + shellQuoted(back)).exitCode, 0);
    EXPECT_EQ(slurp(back), slurp(plain));
    EXPECT_EQ(tidewell("rules --decrypt " + shellQuoted(plain) + " " + shellQuoted(back)).exitCode, 2);
}

} // namespace

namespace {

class TidewellAppsTest : public TidewellTest {
protected:
    void SetUp() override {
        core::testing::writeBundle(root, "Applications/Slack.app", "com.tinyspeck.slackmacgap", "Slack");
        core::testing::writeBundle(root,
                                   "Applications/Slack.app/Contents/Library/LoginItems/Slack Helper.app",
                                   "com.tinyspeck.slackmacgap.helper", "Slack Helper");
        home.file("Library/Application Support/Slack/Cache/data", 4096);
        home.file("Library/Caches/com.tinyspeck.slackmacgap/Cache.db", 8192);
        home.file("Library/Logs/Slack/main.log", 100);
        home.file("Library/Caches/com.gone.tool/data", 2048);
        home.file("Library/Preferences/com.gone.tool.plist", 10);
    }
};

TEST_F(TidewellAppsTest, AppsListsBundlesBySubcommand) {
    auto run = tidewell("apps --json " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json["apps"].size(), 1u);
    EXPECT_EQ(json["apps"][0]["id"], "com.tinyspeck.slackmacgap");
    EXPECT_EQ(json["apps"][0]["paths"][0], root.at("Applications/Slack.app"));
    EXPECT_TRUE(json["subApps"].empty());
}

TEST_F(TidewellAppsTest, AppFilesFollowTheRuleDocument) {
    auto run = tidewell("app-files --json com.tinyspeck.slackmacgap " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 1u);
    std::map<std::string, std::string> files;
    for (const auto& file : json[0]["files"])
        files[file["path"]] = file["kind"].get<std::string>() + " " +
                              file["owner"]["type"].get<std::string>() + " " +
                              file["owner"]["id"].get<std::string>();
    EXPECT_EQ(files[home.at("Library/Application Support/Slack")],
              "support bundleID com.tinyspeck.slackmacgap");
    EXPECT_EQ(files[home.at("Library/Caches/com.tinyspeck.slackmacgap")],
              "cache bundleID com.tinyspeck.slackmacgap");
    EXPECT_EQ(files[home.at("Library/Logs/Slack")], "log bundleID com.tinyspeck.slackmacgap");
    EXPECT_EQ(tidewell("app-files com.not.installed " + globals()).exitCode, 2);
}

TEST_F(TidewellAppsTest, LeftoversAndTheJunkScansApplicationStage) {
    auto run = tidewell("leftovers --files --json " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json["ids"], nlohmann::json::parse(R"(["com.gone.tool"])"));
    EXPECT_EQ(json["files"]["com.gone.tool"].size(), 2u);

    auto junk = nlohmann::json::parse(tidewell("junk --json --only appCaches,appLogs " + globals()).out);
    ASSERT_EQ(junk["appJunk"].size(), 1u);
    EXPECT_EQ(junk["appJunk"][0]["bundleID"], "com.tinyspeck.slackmacgap");
    EXPECT_EQ(junk["appJunk"][0]["appPath"], root.at("Applications/Slack.app"));
    ASSERT_EQ(junk["orphanJunk"].size(), 1u);
    EXPECT_EQ(junk["orphanJunk"][0]["id"], "com.gone.tool");
}

} // namespace

namespace {

TEST_F(TidewellTest, DupesGroupsIdenticalFilesWithTheirSizes) {
    std::string content(20000, 'd');
    for (const auto* name : {"photos/a.jpg", "photos/b.jpg", "backup/old/a.jpg"})
        std::ofstream(scratch.file(name)) << content;
    scratch.file("photos/other.jpg", 20000);
    scratch.file("photos/skip.tmp", 20000);
    std::ofstream(scratch.file("backup/old/extra.txt")) << "only here";
    auto run = tidewell("dupes --json --exclude-ext .tmp " + shellQuoted(scratch.at("photos")) + " " +
                        shellQuoted(scratch.at("backup")));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json["duplicates"].size(), 1u);
    std::set<std::string> members;
    for (const auto& member : json["duplicates"][0]) {
        members.insert(member["path"]);
        EXPECT_EQ(member["size"], 20000);
    }
    EXPECT_EQ(members, (std::set<std::string>{scratch.at("photos/a.jpg"), scratch.at("photos/b.jpg"),
                                              scratch.at("backup/old/a.jpg")}));
    EXPECT_TRUE(json["similar"].empty());
    auto human = tidewell("dupes --exclude-ext .tmp " + shellQuoted(scratch.at("photos")) + " " +
                          shellQuoted(scratch.at("backup")));
    EXPECT_NE(human.out.find("frees 40.0 kB"), std::string::npos);
    EXPECT_EQ(tidewell("dupes " + shellQuoted(scratch.at("nowhere"))).exitCode, 2);
}

} // namespace
