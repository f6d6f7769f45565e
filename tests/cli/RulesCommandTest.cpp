// The rule engine's resources as the front end meets them: documents an author gets wrong, damaged
// or missing resources, and the scans that stand on them, run through the real tidewell binary.
#include "tests/cli/TidewellRun.h"
#include "tests/support/AppFixtures.h"

#include "Core/foundation/AESHelper.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <set>

using core::testing::TempTree;
using namespace core::testing;

namespace {

class RulesCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const auto* name :
             {"ruleInfo.txt", "public_suffix_list.dat", "app_vender.yaml", "app_group.yaml"})
            restore(name);
        core::testing::writeBundle(root, "Applications/Example.app", "com.example.app", "Example");
    }

    // Puts the shipped resource back into the resources folder.
    void restore(const std::string& name) const {
        std::filesystem::copy_file(core::SystemPaths::shared().resourcesDirectory() + "/" + name,
                                   resources.at(name));
    }

    // Replaces the shipped rule document of the resources folder.
    void useRules(const std::string& yaml) const {
        std::ofstream(resources.at("ruleInfo.txt"), std::ios::binary | std::ios::trunc)
            << core::AESHelper::shared().encrypt(yaml).value();
    }

    std::string globals() const {
        return "--root " + shellQuoted(root.path()) + " --home " + shellQuoted(home.path()) +
               " --resources " + shellQuoted(resources.path());
    }

    // The paths app-files reports for the example application.
    std::set<std::string> appFiles(const std::string& extra = "") const {
        auto run = runTidewell("app-files --json --quiet com.example.app " + globals() + " " + extra);
        EXPECT_EQ(run.exitCode, 0);
        std::set<std::string> paths;
        if (run.exitCode != 0)
            return paths;
        auto json = nlohmann::json::parse(run.out);
        for (const auto& file : json.at(0)["files"])
            paths.insert(file["path"].get<std::string>());
        return paths;
    }

    // Runs a command that must be refused as bad input: exit 2, one line on stderr, nothing on
    // stdout. Answers that line.
    std::string refused(const std::string& arguments) const {
        auto errors = scratch.at("stderr");
        auto run = runTidewell(arguments + " " + globals(), errors);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_TRUE(run.out.empty()) << arguments << ": " << run.out;
        auto message = slurp(errors);
        EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << arguments << ": " << message;
        return message;
    }

    TempTree root, home, resources, scratch;
};

TEST_F(RulesCommandTest, ARunawayExpressionIsReportedAndTheScanGoesOn) {
    home.file("Library/Caches/" + std::string(40, 'a') + "b", 10);
    home.file("Library/Caches/aaaa", 10);
    home.file("Library/Caches/Example/data", 10);
    useRules("com.example.app:\n  caches:\n    cache: ['Lib/Caches/^(a+)+$', Lib/Caches/Example]\n");
    auto log = scratch.at("analytics.jsonl");
    EXPECT_EQ(appFiles("--analytics-log " + shellQuoted(log)),
              (std::set<std::string>{home.at("Library/Caches/aaaa"), home.at("Library/Caches/Example")}));
    EXPECT_NE(slurp(log).find("expression_gave_up entry=Lib/Caches/^(a+)+$ pattern=^(a+)+$"),
              std::string::npos);
}

TEST_F(RulesCommandTest, ACheckWarnsOfRunawayExpressionsAndRepeatedKeys) {
    auto document = scratch.file("rules.yaml");
    std::ofstream(document) << "com.a.b:\n  caches:\n    cache: ['Lib/Caches/^(a+)+$', Lib/Caches/fine]\n"
                               "COM.A.B:\n  organization: Later\n";
    auto run = runTidewell("rules --json --check " + shellQuoted(document) + " " + globals());
    EXPECT_EQ(run.exitCode, 1);
    auto warnings = nlohmann::json::parse(run.out)["warnings"];
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[0]["entry"], "Lib/Caches/^(a+)+$");
    EXPECT_EQ(warnings[1]["rule"], "COM.A.B");

    std::ofstream(document, std::ios::trunc) << "com.a.b:\n  caches:\n    cache: [Lib/Caches/fine]\n";
    EXPECT_EQ(runTidewell("rules --check " + shellQuoted(document) + " " + globals()).exitCode, 0);
    EXPECT_NE(refused("rules --check " + shellQuoted(scratch.path())).find("folder"), std::string::npos);
}

TEST_F(RulesCommandTest, EntriesLeavingTheirRootAreDroppedAndFindNothing) {
    root.file("etc/passwd", 10);
    root.file("tmp/x", 10);
    home.file("Library/Logs/Example/a.log", 10);
    const std::string rules = "com.example.app:\n  logs:\n    log: ['Home/../../etc', '/../../../tmp/x', "
                              "'Lib/Caches/../Logs/Example']\n";
    useRules(rules);
    EXPECT_EQ(appFiles(), (std::set<std::string>{home.at("Library/Logs/Example")}));

    auto document = scratch.file("rules.yaml");
    std::ofstream(document) << rules;
    auto run = runTidewell("rules --json --check " + shellQuoted(document) + " " + globals());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(nlohmann::json::parse(run.out)["dropped"].size(), 2u);
}

TEST_F(RulesCommandTest, ADanglingLinkIsNoApplicationFile) {
    std::filesystem::create_directories(home.at("Library/Caches"));
    std::filesystem::create_symlink(home.at("Library/Caches/Gone"), home.at("Library/Caches/Example"));
    home.file("Library/Logs/Example", 10);
    useRules("com.example.app:\n  caches:\n    cache: [Lib/Caches/Example]\n  logs:\n    log: "
             "[Lib/Logs/Example]\n");
    EXPECT_EQ(appFiles(), (std::set<std::string>{home.at("Library/Logs/Example")}));
}

TEST_F(RulesCommandTest, EncipheringRoundTripsAnyBytesExactly) {
    std::string bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    bytes += std::string(5, '\0') + "tail";
    auto plain = scratch.at("plain.bin"), cipher = scratch.at("cipher.txt"), back = scratch.at("back.bin");
    std::ofstream(plain, std::ios::binary) << bytes;
    ASSERT_EQ(runTidewell("rules --encrypt " + shellQuoted(plain) + " " + shellQuoted(cipher)).exitCode, 0);
    ASSERT_EQ(runTidewell("rules --decrypt " + shellQuoted(cipher) + " " + shellQuoted(back)).exitCode, 0);
    EXPECT_EQ(slurp(back), bytes);
}

TEST_F(RulesCommandTest, ADamagedRuleDocumentStopsEveryCommandThatNeedsIt) {
    std::string document;
    for (int rule = 0; rule < 8; ++rule)
        document += "com.example.app" + std::to_string(rule) + ":\n  caches:\n    cache: [Lib/Caches/x]\n";
    auto cipher = core::AESHelper::shared().encrypt(document).value();
    cipher[40] = static_cast<char>(cipher[40] ^ 0x20);
    std::ofstream(resources.at("ruleInfo.txt"), std::ios::binary | std::ios::trunc) << cipher;
    EXPECT_NE(refused("rules").find("ruleInfo.txt"), std::string::npos);
    refused("app-files");
    refused("leftovers");
    refused("junk");
}

TEST_F(RulesCommandTest, MissingResourcesStopTheCommandsBeforeAnyScan) {
    std::filesystem::remove(resources.at("public_suffix_list.dat"));
    EXPECT_NE(refused("junk").find("public_suffix_list.dat"), std::string::npos);
    refused("apps");
    refused("org com.example.app");

    restore("public_suffix_list.dat");
    std::filesystem::remove(resources.at("app_group.yaml"));
    EXPECT_NE(refused("org com.example.app").find("app_group.yaml"), std::string::npos);
    std::filesystem::remove(resources.at("ruleInfo.txt"));
    refused("junk --only appCaches");
    // The system categories read no document: they still run.
    EXPECT_EQ(runTidewell("junk --json --only systemCaches,systemLogs " + globals()).exitCode, 0);
}

TEST_F(RulesCommandTest, OrganisationsIgnoreTheCaseOfTheIdentifier) {
    auto run = runTidewell("org --json COM.GOOGLE.CHROME com.google.chrome UK.CO.EXAMPLE.APP " + globals());
    ASSERT_EQ(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[0]["organization"], "GOOGLE");
    EXPECT_EQ(json[1]["organization"], "google");
    EXPECT_EQ(json[0]["vendor"], json[1]["vendor"]);
    EXPECT_EQ(json[0]["group"], json[1]["group"]);
    EXPECT_EQ(json[2]["organization"], "EXAMPLE");
}

} // namespace
