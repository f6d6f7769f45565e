// Runs tidewell's junk, large and size commands as a child process on a scratch root and home, for
// what they do with paths that are not plain: loose exclusions, unreadable folders, a downloads
// folder outside the home, paths that name nothing.
#include "tests/cli/TidewellRun.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <unistd.h>

using core::testing::shellQuoted;
using core::testing::TempTree;

namespace {

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

class JunkCommandTest : public ::testing::Test {
protected:
    // Runs tidewell in `folder` with the scratch root and home.
    Outcome tidewell(const std::string& arguments, const std::string& folder = "/") const {
        std::string errors = scratch.at("stderr");
        std::string command = "cd " + shellQuoted(folder) + " && " + TIDEWELL_PATH + " --quiet --root " +
                              shellQuoted(root.path()) + " --home " + shellQuoted(home.path()) + " " +
                              arguments + " 2>" + shellQuoted(errors);
        auto outcome = core::testing::runShellCommand(command);
        return {outcome.exitCode, outcome.out, core::testing::slurp(errors)};
    }
    nlohmann::json junkJson(const std::string& arguments, const std::string& folder = "/") const {
        auto run = tidewell("--json junk " + arguments, folder);
        EXPECT_EQ(run.exitCode, 0) << run.err;
        return nlohmann::json::parse(run.out);
    }
    static std::vector<std::string> paths(const nlohmann::json& files) {
        std::vector<std::string> listed;
        for (const auto& file : files)
            listed.push_back(file["path"]);
        return listed;
    }

    TempTree root, home, scratch;
};

TEST_F(JunkCommandTest, ADiskImageInDownloadsIsOnBothListsButCountsOnceInTheTotal) {
    home.file("Downloads/installer.dmg", 100000);
    home.file("Downloads/notes.txt", 50000);
    auto json = junkJson("--only dmgFiles,downloadsFiles");
    EXPECT_EQ(paths(json["diskImages"]), (std::vector<std::string>{home.at("Downloads/installer.dmg")}));
    EXPECT_EQ(json["downloads"].size(), 2u);
    auto run = tidewell("junk --only dmgFiles,downloadsFiles");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("Total               2  150.0 kB"), std::string::npos) << run.out;
}

TEST_F(JunkCommandTest, ExclusionsAreNormalisedAndRelativeOnesTakenFromTheWorkingFolder) {
    for (const std::string name : {"keep", "a", "b", "c", "d"})
        home.file("Downloads/" + name, 10);
    auto downloads = home.at("Downloads");
    auto json = junkJson("--only downloadsFiles --exclude " + shellQuoted(home.path() + "//Downloads/a") +
                             " --exclude " + shellQuoted(downloads + "/./b") + " --exclude " +
                             shellQuoted(downloads + "/c/") + " --exclude d",
                         downloads);
    EXPECT_EQ(paths(json["downloads"]), (std::vector<std::string>{downloads + "/keep"}));
}

TEST_F(JunkCommandTest, LargeExclusionsAreNormalisedToo) {
    home.file("big/one", 4096);
    home.file("big/two", 4096);
    home.file("kept", 4096);
    auto run = tidewell("--json large --min-size 1K --exclude big/./one --exclude " +
                            shellQuoted(home.at("big") + "//two/"),
                        home.path());
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(paths(nlohmann::json::parse(run.out)), (std::vector<std::string>{home.at("kept")}));
}

TEST_F(JunkCommandTest, ADownloadsFolderOutsideTheHomeDoesNotListTheHost) {
    home.file("Downloads/mine", 10);
    for (const std::string& value : std::vector<std::string>{"/", "$HOME/../../..", root.path()}) {
        std::ofstream(home.file(".config/user-dirs.dirs")) << "XDG_DOWNLOAD_DIR=\"" << value << "\"\n";
        auto json = junkJson("--only downloadsFiles");
        EXPECT_EQ(paths(json["downloads"]), (std::vector<std::string>{home.at("Downloads/mine")})) << value;
    }
}

TEST_F(JunkCommandTest, TheHumanOutputSaysHowManyFoldersCouldNotBeRead) {
    root.file("Library/Caches", 10);
    root.file("Library/Logs", 10);
    auto run = tidewell("junk --only systemCaches,systemLogs");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("\n2 folders could not be read\n"), std::string::npos) << run.out;
    root.folder("private/var/log");
    auto quiet = tidewell("junk --only trashFiles");
    EXPECT_EQ(quiet.out.find("could not be read"), std::string::npos) << quiet.out;
}

TEST_F(JunkCommandTest, SizeReportsEachPathItCannotReadAndExitsTwo) {
    auto file = scratch.file("one", 1234);
    auto run =
        tidewell("--json size " + shellQuoted(file) + " " + shellQuoted(scratch.at("missing")) + " ''");
    EXPECT_EQ(run.exitCode, 2);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 1u);
    EXPECT_EQ(json[0]["path"], file);
    EXPECT_NE(run.err.find("size: " + scratch.at("missing") + ": No such file or directory\n"),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("size: : an empty path names no file\n"), std::string::npos) << run.err;
    EXPECT_EQ(tidewell("size " + shellQuoted(file)).exitCode, 0);
}

} // namespace
