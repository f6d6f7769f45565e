// Runs tidewell's application subcommands as a child process on a macOS-like tree.
#include "Core/platform/Process.h"
#include "Core/platform/PropertyList.h"

#include "tests/support/AppFixtures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sys/xattr.h>

using namespace core;
using namespace core::testing;

namespace {

class AppsCommandTest : public ::testing::Test {
protected:
    // The JSON tidewell prints for the subcommand, after asserting that it ended well.
    nlohmann::json run(std::vector<std::string> arguments) {
        for (const auto* global : {"--json", "--quiet", "--root", root.path().c_str(), "--home",
                                   home.path().c_str(), "--analytics-log", log.c_str()})
            arguments.emplace_back(global);
        TaskStatus status;
        auto out = taskSyncRunner(TIDEWELL_PATH, arguments, status);
        EXPECT_TRUE(status.succeeded()) << arguments.front() << " ended with " << status.code;
        return nlohmann::json::parse(out, nullptr, false);
    }
    std::vector<std::string> loggedLines() {
        std::vector<std::string> lines;
        std::ifstream in(log);
        for (std::string line; std::getline(in, line);)
            if (auto entry = nlohmann::json::parse(line); entry.contains("log"))
                lines.push_back(entry["log"]);
        return lines;
    }
    bool logged(const std::string& path, PlistProblem problem) {
        auto lines = loggedLines();
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(path) != std::string::npos && line.find(describe(problem)) != std::string::npos;
        });
    }

    TempTree root, home, scratch;
    std::string log = scratch.at("analytics.jsonl");
};

TEST_F(AppsCommandTest, AHelperListedByTwoApplicationsIsPartOfBoth) {
    writeBundle(root, "Applications/Word.app", "com.microsoft.Word", "Word");
    writeBundle(root, "Applications/Excel.app", "com.microsoft.Excel", "Excel");
    auto helper = writeBundle(root, "Applications/AutoUpdate.app", "com.microsoft.autoupdate2", "AutoUpdate");
    auto apps = run({"apps"});
    EXPECT_EQ(apps["apps"].size(), 2u);
    EXPECT_EQ(apps["subApps"], nlohmann::json::parse(R"(["com.microsoft.autoupdate2"])"));

    auto files = run({"app-files"});
    ASSERT_EQ(files.size(), 2u);
    for (const auto& app : files) {
        auto holdsHelper = std::any_of(app["files"].begin(), app["files"].end(), [&](const auto& file) {
            return file["path"] == helper && file["kind"] == "support" && file["owner"]["id"] == app["id"];
        });
        EXPECT_TRUE(holdsHelper) << app["id"];
    }
}

TEST_F(AppsCommandTest, ABundleWithAnUnreasonableInfoPlistIsSkippedAndSaid) {
    writeBundle(root, "Applications/Slack.app", "com.tinyspeck.slackmacgap", "Slack");
    auto deep = writeBundleWithInfo(
        root, "Applications/Deep.app",
        nestedPropertyList(PlistFormat::xml,
                           {{"CFBundleIdentifier", "com.example.deep"}, {"CFBundleExecutable", "main"}},
                           30000));
    auto huge = writeBundle(root, "Applications/Huge.app", "com.example.huge");
    std::filesystem::resize_file(huge + "/Contents/Info.plist", 200 * 1024 * 1024);
    auto apps = run({"apps"});
    EXPECT_EQ(apps["apps"], nlohmann::json::parse(R"([{"id": "com.tinyspeck.slackmacgap", "paths": [")" +
                                                  root.at("Applications/Slack.app") + R"("]}])"));
    EXPECT_TRUE(logged(deep, PlistProblem::tooDeep));
    EXPECT_TRUE(logged(huge, PlistProblem::tooLarge));
    EXPECT_TRUE(run({"leftovers"}).is_object());
    EXPECT_TRUE(run({"junk", "--only", "appCaches"}).is_object());
}

TEST_F(AppsCommandTest, LeftoversKeepContainerNamesWholeAndKnowEveryInstalledBundle) {
    writeBundle(root, "Applications/Mine.app", "com.mygroup.app", "Mine");
    auto system = writeBundle(root, "Applications/Guard.app", "com.vendor.guard", "Guard");
    ASSERT_EQ(::setxattr(system.c_str(), "user.com.apple.rootless", "", 0, 0), 0);
    home.file("Library/Containers/group.com.mygroup.app/Data/file", 100);
    home.file("Library/Containers/com.vendor.guard/Data/file", 100);
    std::string dotted = "\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130group.x";
    home.file("Library/Containers/group." + dotted + "/Data/file", 100);
    auto leftovers = run({"leftovers", "--files"});
    EXPECT_EQ(leftovers["ids"], nlohmann::json::array({dotted}));
    ASSERT_EQ(leftovers["files"].size(), 1u);
    EXPECT_EQ(leftovers["files"][0]["id"], dotted);
    ASSERT_EQ(leftovers["files"][0]["files"].size(), 1u);
    EXPECT_EQ(leftovers["files"][0]["files"][0]["path"], home.at("Library/Containers/group." + dotted));
}

} // namespace
