// Runs the real tidewell binary's delete command as a child process: what it refuses, what it
// asks, and that what a finder showed is exactly what goes.
#include "cli/JsonBytes.h"

#include "tests/cli/TidewellRun.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace core::testing;

namespace {

class DeleteCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        home = tree.folder("home");
        // The journal of the child goes where the test can read it.
        ::setenv("XDG_STATE_HOME", tree.at("state").c_str(), 1);
    }
    void TearDown() override { ::unsetenv("XDG_STATE_HOME"); }

    std::string globals() const { return "--quiet --home " + shellQuoted(home); }
    core::testing::Run deleting(const std::string& arguments, const std::string& errors = "/dev/null") {
        return runTidewell(globals() + " delete " + arguments + " </dev/null", errors);
    }
    std::string journal() const { return slurp(tree.at("state/tidewell/deletions.jsonl")); }

    TempTree tree;
    std::string home;
};

TEST_F(DeleteCommandTest, RefusesTheRootTheHomeAndWhatHoldsThemWithNothingDeleted) {
    auto keep = tree.file("home/keep", 10);
    for (const std::string& path : {std::string("/"), home, tree.path(), home + "/..", home + "/"}) {
        EXPECT_EQ(deleting("--yes --permanent " + shellQuoted(path)).exitCode, 2) << path;
        EXPECT_TRUE(entryExists(keep)) << path;
    }
    ::symlink(home.c_str(), tree.at("linkToHome").c_str());
    EXPECT_EQ(deleting("--yes --permanent " + shellQuoted(tree.at("linkToHome") + "/.")).exitCode, 2);
    EXPECT_TRUE(entryExists(keep));
}

TEST_F(DeleteCommandTest, WithoutATerminalItAsksForYes) {
    auto file = tree.file("work/a", 10);
    auto errors = tree.at("errors");
    EXPECT_EQ(deleting(shellQuoted(file), errors).exitCode, 2);
    EXPECT_NE(slurp(errors).find("--yes"), std::string::npos);
    EXPECT_TRUE(entryExists(file));
}

TEST_F(DeleteCommandTest, ADryRunChangesNothing) {
    auto file = tree.file("work/a", 5000);
    auto run = deleting("--dry-run --permanent " + shellQuoted(file));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find(file), std::string::npos);
    EXPECT_TRUE(entryExists(file));
    EXPECT_TRUE(journal().empty());
}

TEST_F(DeleteCommandTest, ByDefaultItemsGoToTheTrashAndTheJournalSaysSo) {
    auto file = tree.file("home/work/report.txt", 10);
    auto run = runTidewell(globals() + " --json delete --yes " + shellQuoted(file));
    ASSERT_EQ(run.exitCode, 0) << run.out;
    auto result = nlohmann::json::parse(run.out);
    EXPECT_EQ(result["results"][0]["deleted"], true);
    EXPECT_EQ(result["freed"], 10);
    EXPECT_TRUE(entryExists(home + "/.local/share/Trash/files/report.txt"));
    auto entry = nlohmann::json::parse(journal());
    EXPECT_EQ(entry["route"], "trash");
    EXPECT_EQ(entry["path"], file);
    EXPECT_EQ(entry["result"], "deleted");
}

// A name that is not text survives the finder's JSON and comes back to remove exactly that file.
TEST_F(DeleteCommandTest, AFindersResultIsDeletedByteExact) {
    std::string odd = tree.at("home/big\xff\n name");
    std::filesystem::create_directories(tree.at("home"));
    std::ofstream(odd) << std::string(3 * 1024 * 1024, 'x');
    auto neighbour = tree.file("home/big", 3 * 1024 * 1024);
    auto large = runTidewell(globals() + " --json large --min-size 1M");
    ASSERT_EQ(large.exitCode, 0);
    auto result = tree.at("large.json");
    std::ofstream(result) << large.out;
    auto run = deleting("--yes --permanent --from " + shellQuoted(result));
    EXPECT_EQ(run.exitCode, 0) << run.out;
    EXPECT_FALSE(entryExists(odd));
    EXPECT_FALSE(entryExists(neighbour));
    EXPECT_EQ(
        tidewell::bytesFromJson(nlohmann::json::parse(journal().substr(0, journal().find('\n')))["path"])
            .value_or(""),
        odd.size() > 0 ? odd : "");
}

TEST_F(DeleteCommandTest, OfEachGroupOfDuplicatesOneCopyStays) {
    tree.file("dupes/a/one", 5000);
    tree.file("dupes/b/one", 5000);
    tree.file("dupes/c/one", 5000);
    auto dupes = runTidewell("--quiet --json dupes " + shellQuoted(tree.at("dupes")));
    auto groups = nlohmann::json::parse(dupes.out)["duplicates"];
    ASSERT_EQ(groups.size(), 1u);
    std::string first = groups[0][0]["path"];
    auto result = tree.at("dupes.json");
    std::ofstream(result) << dupes.out;
    EXPECT_EQ(deleting("--yes --permanent --from " + shellQuoted(result) + " --select duplicates").exitCode,
              0);
    int left = 0;
    for (const char* copy : {"dupes/a/one", "dupes/b/one", "dupes/c/one"})
        left += entryExists(tree.at(copy));
    EXPECT_EQ(left, 1);
    EXPECT_TRUE(entryExists(first));
}

TEST_F(DeleteCommandTest, AListedPathThatIsALinkNowIsSkipped) {
    auto precious = tree.file("precious/data", 10);
    auto listed = tree.at("home/old.log");
    auto result = tree.at("result.json");
    std::ofstream(result) << nlohmann::json::array({{{"path", listed}, {"size", 10}}}).dump();
    ::symlink(tree.at("precious").c_str(), listed.c_str());
    auto run = deleting("--yes --permanent --from " + shellQuoted(result));
    EXPECT_NE(run.out.find("skipped"), std::string::npos);
    EXPECT_TRUE(entryExists(listed));
    EXPECT_TRUE(entryExists(precious));
}

// Purgeable space is given back by the system, never deleted as a path: "/" is not touched and no
// deletion of it is journaled.
TEST_F(DeleteCommandTest, PurgeableSpaceOfAJunkResultIsGivenBackNotDeleted) {
    auto keep = tree.file("home/work/keep", 10);
    auto result = tree.at("junk.json");
    std::ofstream(result) << nlohmann::json{{"purgeableSpace", {{{"path", "/"}, {"size", 0}}}},
                                            {"trash", {{{"path", keep}, {"size", 10}}}}}
                                 .dump();
    auto run = deleting("--yes --from " + shellQuoted(result) + " --select purgeableSpace");
    EXPECT_EQ(run.exitCode, 0) << run.out;
    EXPECT_NE(run.out.find("purgeable space given back"), std::string::npos);
    EXPECT_TRUE(entryExists(keep));
    EXPECT_TRUE(journal().empty());
}

TEST_F(DeleteCommandTest, AFolderShreddedGoesWholeAndAFailureNamesItsError) {
    tree.file("work/folder/a", 5000);
    auto run = deleting("--yes --shred " + shellQuoted(tree.at("work/folder")) + " /proc/version");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_FALSE(entryExists(tree.at("work/folder")));
    EXPECT_NE(run.out.find("failed  /proc/version"), std::string::npos);
}

} // namespace
