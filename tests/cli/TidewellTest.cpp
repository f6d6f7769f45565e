// Runs the real tidewell binary as a child process on a macOS-like tree, as a user or script would.
#include "Core/foundation/SizeString.h"
#include "tests/cli/TidewellRun.h"
#include "tests/support/AppFixtures.h"
#include "tests/support/ShellCommand.h"

#include "cli/JsonBytes.h"

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
    auto run = runTidewell("junk --json --only systemCaches,systemLogs " + globals() + " --analytics-log " +
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
    auto before = runTidewell("--json " + globals() + " junk --only systemCaches");
    auto after = runTidewell("junk --only systemCaches " + globals() + " --json");
    ASSERT_EQ(before.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(before.out), nlohmann::json::parse(after.out));
}

TEST_F(TidewellTest, ExcludedPathIsNotReported) {
    root.file("Library/Caches/keep", 10);
    root.file("Library/Caches/drop", 10);
    auto run = runTidewell("junk --json --only systemCaches " + globals() + " --exclude " +
                        shellQuoted(root.at("Library/Caches/drop")));
    ASSERT_EQ(run.exitCode, 0);
    auto found = nlohmann::json::parse(run.out)["systemCaches"];
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]["path"], root.at("Library/Caches/keep"));
}

TEST_F(TidewellTest, HumanReportHasATableAndATotal) {
    root.file("Library/Caches/x", 1500);
    auto run = runTidewell("junk --only systemCaches " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("systemCaches"), std::string::npos);
    EXPECT_NE(run.out.find("1.5 kB"), std::string::npos);
    EXPECT_NE(run.out.find("Total"), std::string::npos);
}

TEST_F(TidewellTest, BadInputIsOneLineAndExitCodeTwo) {
    auto errors = scratch.at("stderr");
    auto unknown = runTidewell("junk --only systemCaches,bogus " + globals(), errors);
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_NE(slurp(errors).find("unknown junk category: bogus"), std::string::npos);
    EXPECT_TRUE(unknown.out.empty());

    auto missingRoot = runTidewell("junk --root " + shellQuoted(root.at("nowhere")), errors);
    EXPECT_EQ(missingRoot.exitCode, 2);
    auto message = slurp(errors);
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);

    EXPECT_EQ(runTidewell("junk --resources " + shellQuoted(root.at("nowhere")) + " " + globals()).exitCode, 2);
    EXPECT_EQ(runTidewell("no-such-command").exitCode, 2);
}

TEST_F(TidewellTest, SizeCountsFilesByLengthAndFoldersByAllocation) {
    auto file = scratch.file("one", 1234);
    auto run = runTidewell("size --json " + shellQuoted(file));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 1u);
    EXPECT_EQ(json[0]["size"], 1234);
}

} // namespace

namespace {

TEST_F(TidewellTest, LargeListsTheHomeFoldersBigFilesBiggestFirst) {
    home.file("videos/film.mkv", 3 * 1024 * 1024);
    home.file("docs/thesis.pdf", 2 * 1024 * 1024);
    home.file("docs/notes.txt", 1000);
    auto run = runTidewell("large --json --min-size 1M " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(run.out),
              nlohmann::json::parse(R"([{"path": ")" + home.at("videos/film.mkv") +
                                    R"(", "size": 3145728}, )" + R"({"path": ")" +
                                    home.at("docs/thesis.pdf") + R"(", "size": 2097152}])"));
    EXPECT_EQ(runTidewell("large --min-size 1X " + globals()).exitCode, 2);
}

TEST_F(TidewellTest, JunkReportsTrashDownloadsAndTheirLog) {
    home.file(".local/share/Trash/files/old.iso", 5000);
    home.file("Downloads/setup.deb", 700);
    auto log = scratch.at("analytics.jsonl");
    auto run = runTidewell("junk --json --only trashFiles,downloadsFiles " + globals() + " --analytics-log " +
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
    auto run = runTidewell("org --json com.example.app uk.co.example.app com.microsoft.Word");
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[0]["organization"], "example");
    EXPECT_EQ(json[1]["organization"], "example");
    EXPECT_EQ(json[0]["vendor"], "Other");
    EXPECT_TRUE(json[0]["group"].is_null());
    EXPECT_EQ(json[2]["vendor"], "Microsoft");
    EXPECT_EQ(json[2]["group"], "Microsoft Office");
    EXPECT_EQ(runTidewell("org --resources " + shellQuoted(scratch.path()) + " com.example.app").exitCode, 2);
}

TEST_F(TidewellTest, RulesShowTheShippedDocumentWithNothingDropped) {
    auto run = runTidewell("rules --json");
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
    auto run = runTidewell("rules --json --check " + shellQuoted(document));
    EXPECT_EQ(run.exitCode, 1);
    auto dropped = nlohmann::json::parse(run.out)["dropped"];
    ASSERT_EQ(dropped.size(), 2u);
    EXPECT_EQ(dropped[0]["entry"], "Var/x/y");
    EXPECT_NE(dropped[0]["reason"].get<std::string>().find("unknown root"), std::string::npos);

    std::ofstream(document) << "'': {}\n";
    EXPECT_EQ(runTidewell("rules --check " + shellQuoted(document)).exitCode, 2);
}

TEST_F(TidewellTest, RulesEncryptAndDecryptRoundTrip) {
    auto plain = scratch.file("plain.yaml");
    std::ofstream(plain) << "com.example.app:\n  organization: Example\n";
    auto cipher = scratch.at("rules.txt"), back = scratch.at("back.yaml");
    ASSERT_EQ(runTidewell("rules --encrypt " + shellQuoted(plain) + " " + shellQuoted(cipher)).exitCode, 0);
    EXPECT_NE(slurp(cipher), slurp(plain));
    ASSERT_EQ(runTidewell("rules --decrypt " + shellQuoted(cipher) + " " + shellQuoted(back)).exitCode, 0);
    EXPECT_EQ(slurp(back), slurp(plain));
    EXPECT_EQ(runTidewell("rules --decrypt " + shellQuoted(plain) + " " + shellQuoted(back)).exitCode, 2);
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
    auto run = runTidewell("apps --json " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json["apps"].size(), 1u);
    EXPECT_EQ(json["apps"][0]["id"], "com.tinyspeck.slackmacgap");
    EXPECT_EQ(json["apps"][0]["paths"][0], root.at("Applications/Slack.app"));
    EXPECT_TRUE(json["subApps"].empty());
}

TEST_F(TidewellAppsTest, AppFilesFollowTheRuleDocument) {
    auto run = runTidewell("app-files --json com.tinyspeck.slackmacgap " + globals());
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
    EXPECT_EQ(runTidewell("app-files com.not.installed " + globals()).exitCode, 2);
}

TEST_F(TidewellAppsTest, LeftoversAndTheJunkScansApplicationStage) {
    auto run = runTidewell("leftovers --files --json " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json["ids"], nlohmann::json::parse(R"(["com.gone.tool"])"));
    ASSERT_EQ(json["files"].size(), 1u);
    EXPECT_EQ(json["files"][0]["id"], "com.gone.tool");
    EXPECT_EQ(json["files"][0]["files"].size(), 2u);

    auto junk = nlohmann::json::parse(runTidewell("junk --json --only appCaches,appLogs " + globals()).out);
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
    auto run = runTidewell("dupes --json --exclude-ext .tmp " + shellQuoted(scratch.at("photos")) + " " +
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
    auto human = runTidewell("dupes --exclude-ext .tmp " + shellQuoted(scratch.at("photos")) + " " +
                          shellQuoted(scratch.at("backup")));
    // Two copies go, each freeing the blocks it was given.
    auto freed = core::sizeString(2 * core::testing::allocatedBytes(scratch.at("photos/b.jpg")));
    EXPECT_NE(human.out.find("frees " + freed), std::string::npos);
    EXPECT_EQ(runTidewell("dupes " + shellQuoted(scratch.at("nowhere"))).exitCode, 2);
}

} // namespace

namespace {

// Names a file system accepts that text output easily gets wrong: bytes that are not UTF-8, line
// breaks, quotes of both kinds, control bytes that steer a terminal, a backslash, and plain UTF-8.
const std::vector<std::string> oddNames = {"not\xffutf8\xc3", "two\nlines",    "quo\"te's",
                                           "ctl\x01\x1b[31m", "back\\slash\r", "caf\xc3\xa9"};

std::string bytesOf(const nlohmann::json& value) {
    auto bytes = tidewell::bytesFromJson(value);
    EXPECT_TRUE(bytes) << value.dump();
    return bytes.value_or("");
}

std::set<std::string> pathsOf(const nlohmann::json& records) {
    std::set<std::string> paths;
    for (const auto& record : records)
        paths.insert(bytesOf(record["path"]));
    return paths;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class TidewellOddNamesTest : public TidewellTest {
protected:
    // Lays out one file a name inside `folder` of `tree`; the set of their paths.
    std::set<std::string> oddFiles(const TempTree& tree, const std::string& folder, std::size_t bytes) {
        std::set<std::string> paths;
        for (const auto& name : oddNames)
            paths.insert(tree.file(folder + "/" + name, bytes));
        return paths;
    }
};

TEST_F(TidewellOddNamesTest, PathsSurviveJsonExactlyInSizeLargeAndJunk) {
    auto caches = oddFiles(root, "Library/Caches", 100);
    auto big = oddFiles(home, "films", 1024 * 1024);
    auto run = runTidewell("junk --json --only systemCaches " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(pathsOf(nlohmann::json::parse(run.out)["systemCaches"]), caches);

    run = runTidewell("large --json --min-size 1M " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(pathsOf(nlohmann::json::parse(run.out)), big);

    std::string arguments;
    for (const auto& path : caches)
        arguments += " " + shellQuoted(path);
    run = runTidewell("size --json" + arguments);
    ASSERT_EQ(run.exitCode, 0);
    auto sizes = nlohmann::json::parse(run.out);
    EXPECT_EQ(pathsOf(sizes), caches);
    for (const auto& record : sizes)
        EXPECT_EQ(record["size"], 100);
}

TEST_F(TidewellOddNamesTest, PathsSurviveJsonExactlyInDupes) {
    std::set<std::string> expected;
    for (const auto& name : oddNames)
        for (const auto* folder : {"a/", "b/"})
            std::ofstream(*expected.insert(scratch.file(folder + name)).first) << "content of " << name;
    // One file without a twin in each folder keeps the folders themselves from matching.
    std::ofstream(scratch.file("a/only-a")) << "a";
    std::ofstream(scratch.file("b/only-b")) << "bb";
    auto run = runTidewell("dupes --json " + shellQuoted(scratch.at("a")) + " " + shellQuoted(scratch.at("b")));
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    std::set<std::string> found;
    for (const auto& group : json["duplicates"]) {
        EXPECT_EQ(group.size(), 2u);
        found.merge(pathsOf(group));
    }
    EXPECT_EQ(found, expected);
}

TEST_F(TidewellOddNamesTest, NamesAndIdentifiersSurviveJsonInTheApplicationCommands) {
    auto bundle = core::testing::writeBundle(root, "Applications/Odd\nApp\xff.app", "com.example.odd", "Odd");
    auto apps = nlohmann::json::parse(runTidewell("apps --json " + globals()).out);
    ASSERT_EQ(apps["apps"].size(), 1u);
    EXPECT_EQ(bytesOf(apps["apps"][0]["paths"][0]), bundle);

    auto files = nlohmann::json::parse(runTidewell("app-files --json com.example.odd " + globals()).out);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(pathsOf(files[0]["apps"]), std::set<std::string>{bundle});

    const std::string gone = "com.gone\xfftool";
    home.file("Library/Caches/" + gone + "/data", 10);
    home.file("Library/Preferences/" + gone + ".plist", 10);
    auto leftovers = nlohmann::json::parse(runTidewell("leftovers --files --json " + globals()).out);
    ASSERT_EQ(leftovers["ids"].size(), 1u);
    EXPECT_EQ(bytesOf(leftovers["ids"][0]), gone);
    ASSERT_EQ(leftovers["files"].size(), 1u);
    EXPECT_EQ(bytesOf(leftovers["files"][0]["id"]), gone);
    EXPECT_EQ(pathsOf(leftovers["files"][0]["files"]),
              (std::set<std::string>{home.at("Library/Caches/" + gone),
                                     home.at("Library/Preferences/" + gone + ".plist")}));
}

TEST_F(TidewellOddNamesTest, ArgumentsAndDocumentTextSurviveJsonInOrgAndRules) {
    auto run = runTidewell("org --json " + shellQuoted("com.ex\xff"
                                                    "ample.app"));
    ASSERT_EQ(run.exitCode, 0);
    auto org = nlohmann::json::parse(run.out);
    EXPECT_EQ(bytesOf(org[0]["id"]), "com.ex\xff"
                                     "ample.app");
    EXPECT_EQ(bytesOf(org[0]["organization"]), "ex\xff"
                                               "ample");

    // YAML is text: a document that is not UTF-8 is refused whole, in one line.
    auto document = scratch.file("rules.yaml");
    std::ofstream(document) << "com.example.app:\n  caches:\n    cache: [Lib/Caches/Example, \"Var/\xfe\"]\n";
    auto errors = scratch.at("errors");
    run = runTidewell("rules --json --check " + shellQuoted(document), errors);
    EXPECT_EQ(run.exitCode, 2);
    auto message = slurp(errors);
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);
}

TEST_F(TidewellOddNamesTest, TheAnalyticsLogStaysOneJsonObjectALine) {
    auto trashed = oddFiles(home, ".local/share/Trash/files", 10);
    auto log = scratch.at("analytics.jsonl");
    auto run =
        runTidewell("junk --json --only trashFiles " + globals() + " --analytics-log " + shellQuoted(log));
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(pathsOf(nlohmann::json::parse(run.out)["trash"]), trashed);
    std::set<std::string> logged;
    for (const auto& line : linesOf(slurp(log))) {
        auto entry = nlohmann::json::parse(line);
        if (entry.contains("log"))
            for (const auto& path : trashed)
                if (bytesOf(entry["log"]).find(path) != std::string::npos)
                    logged.insert(path);
    }
    EXPECT_EQ(logged, trashed);
}

TEST_F(TidewellOddNamesTest, HumanOutputShowsEachNameEscapedOnItsOwnLine) {
    auto path = scratch.file("two\nlines\xff\x1b[31m\t", 1);
    auto run = runTidewell("size " + shellQuoted(path));
    ASSERT_EQ(run.exitCode, 0);
    auto lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find(scratch.path() + "/two\\nlines\\xFF\\x1B[31m\\t"), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find("1 byte"), std::string::npos);
    EXPECT_EQ(lines[0].find("1 bytes"), std::string::npos);

    for (const auto& name : oddNames)
        home.file("films/" + name, 1024 * 1024);
    run = runTidewell("large --min-size 1M " + globals());
    ASSERT_EQ(run.exitCode, 0);
    lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), oddNames.size() + 1);
    for (std::size_t index = 0; index < oddNames.size(); ++index)
        EXPECT_EQ(lines[index].find_first_of("\r\x01\x1b\xff"), std::string::npos) << lines[index];
}

TEST_F(TidewellTest, JunkMentionsSkippedScreenshotsOnlyWhenTheyWereAskedFor) {
    auto run = runTidewell("junk --only systemCaches " + globals());
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out.find("screenshots were not scanned"), std::string::npos);
}

TEST_F(TidewellTest, AnUnknownCommandIsNamedOnOneLine) {
    auto errors = scratch.at("stderr");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"bogus", "tidewell: unknown command: bogus\n"},
        {"--json bogus", "tidewell: unknown command: bogus\n"},
        {"", "tidewell: a command is required; tidewell --help lists them\n"},
        {"size " + shellQuoted(scratch.path()) + " --bogus", "tidewell: unexpected argument: --bogus\n"},
        {"dupes " + shellQuoted(scratch.at("no\nwhere")),
         "tidewell: not a folder: " + scratch.at("no\\nwhere") + "\n"}};
    for (const auto& [arguments, message] : cases) {
        auto run = runTidewell(arguments, errors);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_TRUE(run.out.empty()) << arguments;
        EXPECT_EQ(slurp(errors), message);
    }
}

} // namespace
