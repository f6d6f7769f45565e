// Runs the real tidewell binary's dupes command as a child process on trees that hold the same
// data under several names: repeated roots, links, hard links, sparse files, deep folders.
#include "Core/foundation/SizeString.h"
#include "Core/platform/Process.h"

#include "tests/dff/TreeFixtures.h"
#include "tests/support/TempTree.h"

#include "cli/Terminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <climits>
#include <fstream>
#include <set>
#include <unistd.h>

using core::testing::allocatedBytes;
using core::testing::TempTree;

namespace {

class DupesCommandTest : public ::testing::Test {
protected:
    // What `tidewell dupes ARGS` prints, quietly.
    std::string dupes(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"dupes", "--quiet"});
        return core::taskSyncRunner(TIDEWELL_PATH, arguments);
    }
    std::string write(const std::string& name, const std::string& content) {
        std::ofstream(tree.file(name)) << content;
        return tree.at(name);
    }
    // The summary line for `groups` groups that free `bytes`.
    static std::string summary(int groups, std::int64_t bytes) {
        return tidewell::counted(groups, "group") + "; removing all but one of each frees " +
               core::sizeString(bytes);
    }

    TempTree tree;
};

TEST_F(DupesCommandTest, AFolderGivenTwiceOrThroughALinkIsNoDuplicateOfItself) {
    write("ov/A/s/f", std::string(50000, 'x'));
    write("ov/B/g", "something else");
    ASSERT_EQ(::symlink(tree.at("ov").c_str(), tree.at("link-to-ov").c_str()), 0);
    for (const auto& second : {"ov", "ov/A", "ov/A/../A/s", "link-to-ov"})
        EXPECT_EQ(dupes({tree.at("ov"), tree.at(second)}), summary(0, 0) + "\n") << second;
}

TEST_F(DupesCommandTest, HardLinkedTwinsFreeNothingAndCopiesTheirBlocks) {
    auto original = write("x", std::string(100000, 'h'));
    ASSERT_EQ(::link(original.c_str(), tree.at("y").c_str()), 0);
    EXPECT_EQ(dupes({tree.path()}), summary(0, 0) + "\n");
    auto copy = write("z", std::string(100000, 'h'));
    auto out = dupes({tree.path()});
    EXPECT_NE(out.find("3 x "), std::string::npos) << out;
    EXPECT_NE(out.find(summary(1, allocatedBytes(copy))), std::string::npos) << out;
}

TEST_F(DupesCommandTest, SparseCopiesFreeWhatTheyWereGiven) {
    for (const auto* name : {"a", "b"}) {
        std::ofstream(tree.file(name)).close();
        ASSERT_EQ(::truncate(tree.at(name).c_str(), 10 << 20), 0);
    }
    auto out = dupes({tree.path()});
    EXPECT_NE(out.find("2 x 10.5 MB"), std::string::npos) << out;
    EXPECT_NE(out.find(summary(1, allocatedBytes(tree.at("b")))), std::string::npos) << out;
}

TEST_F(DupesCommandTest, ExcludedEndingsIgnoreCaseButNeverTakeAWholeName) {
    for (const auto* name : {"in/f", "in/g", "out/a.f", "out/b.f"})
        write(name, "same words");
    auto json = nlohmann::json::parse(
        core::taskSyncRunner(TIDEWELL_PATH, {"dupes", "--json", "--exclude-ext", "F", tree.path()}));
    // A name that is nothing but the ending has no extension to exclude by.
    ASSERT_EQ(json["duplicates"].size(), 1u);
    std::set<std::string> members;
    for (const auto& member : json["duplicates"][0])
        members.insert(member["path"].get<std::string>());
    EXPECT_EQ(members, (std::set<std::string>{tree.at("in/f"), tree.at("in/g")}));
}

// The JSON report is written as it goes, yet reads as one document in the layout of every other
// report, names that are no UTF-8 nested as objects within it.
TEST_F(DupesCommandTest, TheJsonReportIsOneDocumentInTheUsualLayout) {
    auto report = [&] {
        return core::taskSyncRunner(TIDEWELL_PATH, {"--json", "dupes", "--quiet", tree.path()});
    };
    write("a/only", "no twin, so that the folders differ");
    auto empty = report();
    EXPECT_EQ(empty, nlohmann::json::parse(empty).dump(2) + "\n");
    for (const auto* folder : {"a/", "b/"}) {
        write(std::string(folder) + "one", "the first content");
        write(std::string(folder) + "two\xff", "the second content");
    }
    auto out = report();
    auto json = nlohmann::json::parse(out);
    EXPECT_EQ(out, json.dump(2) + "\n");
    ASSERT_EQ(json["duplicates"].size(), 2u);
    std::set<std::string> encoded;
    for (const auto& group : json["duplicates"])
        for (const auto& member : group)
            if (member["path"].is_object())
                encoded.insert(member["path"]["base64"].get<std::string>());
    EXPECT_EQ(encoded.size(), 2u);
    EXPECT_TRUE(json["similar"].empty());
}

TEST_F(DupesCommandTest, FilesBelowThePathLimitAreFound) {
    dff::testing::DeepFolder deep(tree.path(), PATH_MAX / 200 + 2);
    deep.write("one", std::string(7000, 'q'));
    deep.write("two", std::string(7000, 'q'));
    auto out = dupes({tree.path()});
    EXPECT_NE(out.find(deep.path() + "/one"), std::string::npos);
    EXPECT_NE(out.find(deep.path() + "/two"), std::string::npos);
}

} // namespace
