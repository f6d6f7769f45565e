#include "dff/DuplicateFileFinder.h"

#include "tests/dff/TreeFixtures.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <set>
#include <unistd.h>

using namespace dff;
using core::testing::TempTree;
using dff::testing::DeepFolder;
using dff::testing::Socket;

namespace {

// Writes `bytes` bytes made from `seed`, with one byte changed at `differAt` when given.
void writeContent(const std::string& path, std::size_t bytes, int seed, long long differAt = -1) {
    std::string content(bytes, '\0');
    for (std::size_t i = 0; i < bytes; ++i)
        content[i] = static_cast<char>((i * 31 + static_cast<std::size_t>(seed) * 7) % 251);
    if (differAt >= 0)
        content[static_cast<std::size_t>(differAt)] ^= 0x55;
    std::ofstream(path, std::ios::binary) << content;
}

class FinderTest : public ::testing::Test {
protected:
    // The groups as sets of paths relative to the tree, in the engine's order.
    std::vector<std::set<std::string>> find(long long minSize = 0) {
        DuplicateFileFinder finder([&](double value) { progress.push_back(value); }, [](const Path&) {});
        finder.rootFolders = roots.empty() ? std::vector<Path>{tree.path()} : roots;
        finder.log = [&](const std::string& line) { logLines.push_back(line); };
        finder.minFileSize = minSize;
        finder.excludeExtensions = excludeExtensions;
        finder.excludePaths = excludePaths;
        finder.threads = threads;
        Groups duplicates, similar;
        finder.find(duplicates, similar, false);
        std::vector<std::set<std::string>> groups;
        ordered.clear();
        for (const auto& group : duplicates) {
            auto& members = groups.emplace_back();
            auto& inOrder = ordered.emplace_back();
            for (const File* file : group) {
                inOrder.push_back(file->path().str() == tree.path()
                                      ? "."
                                      : file->path().str().substr(tree.path().size() + 1));
                members.insert(inOrder.back());
            }
        }
        finder.releaseFiles();
        return groups;
    }
    std::string at(const std::string& relative) {
        std::string path = tree.at(relative);
        tree.folder(relative.substr(0, relative.rfind('/') == std::string::npos ? 0 : relative.rfind('/')));
        return path;
    }

    TempTree tree;
    std::vector<std::string> excludeExtensions;
    std::vector<Path> excludePaths;
    std::vector<Path> roots;
    std::vector<double> progress;
    std::vector<std::string> logLines;
    unsigned threads = SizeGroupRace::defaultThreads();
    // The groups of the last search with their members in the engine's order.
    std::vector<std::vector<std::string>> ordered;
};

TEST_F(FinderTest, IdenticalFilesFormOneGroupAndNearMissesNone) {
    for (const auto* name : {"same/one", "same/two", "same/three"})
        writeContent(at(name), 10, 1);
    writeContent(at("d/near1"), 9000, 2);
    writeContent(at("e/near2"), 9000, 2, 5000);
    writeContent(at("f/late1"), 100000, 3);
    writeContent(at("g/late2"), 100000, 3, 99999);
    auto groups = find();
    EXPECT_EQ(groups, (std::vector<std::set<std::string>>{{"same/one", "same/two", "same/three"}}));
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_DOUBLE_EQ(progress.back(), 0.9);
}

TEST_F(FinderTest, GroupsAndTheirOrderDoNotDependOnTheNumberOfThreads) {
    for (int group = 0; group < 6; ++group)
        for (const char* copy : {"a", "b", "c"})
            writeContent(at("f" + std::to_string(group) + copy), 5000 + 1000 * group, group);
    // Large enough for their second stage to be shared between threads.
    writeContent(at("big-a"), 700000, 9);
    writeContent(at("big-b"), 700000, 9);
    writeContent(at("big-c"), 700000, 9, 699999);
    writeContent(at("big-d"), 700000, 9, 300000);
    // One size group that splits at its first block into two subgroups with long stages ahead,
    // which race on threads of their own; one of them loses a member at the last byte.
    const std::size_t huge = 4096 + 4096000 + 5000;
    writeContent(at("huge-a1"), huge, 11);
    writeContent(at("huge-a2"), huge, 11);
    writeContent(at("huge-a3"), huge, 11, huge - 1);
    writeContent(at("huge-b1"), huge, 12);
    writeContent(at("huge-b2"), huge, 12);
    threads = 1;
    auto alone = find();
    auto orderAlone = ordered;
    threads = 4;
    EXPECT_EQ(find(), alone);
    EXPECT_EQ(ordered, orderAlone);
    ASSERT_EQ(alone.size(), 9u);
    for (const auto& pair :
         {std::set<std::string>{"big-a", "big-b"}, std::set<std::string>{"huge-a1", "huge-a2"},
          std::set<std::string>{"huge-b1", "huge-b2"}})
        EXPECT_TRUE(std::count(alone.begin(), alone.end(), pair));
    for (int group = 0; group < 6; ++group) {
        std::string name = "f" + std::to_string(group);
        EXPECT_TRUE(std::count(alone.begin(), alone.end(),
                               std::set<std::string>{name + "a", name + "b", name + "c"}));
    }
}

TEST_F(FinderTest, IdenticalFoldersAreReportedInsteadOfTheirFiles) {
    writeContent(at("one/x"), 3000, 1);
    writeContent(at("two/x"), 3000, 1);
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"one", "two"}}));

    // A third copy outside a duplicate folder brings the file group back, with all its members.
    writeContent(at("copy"), 3000, 1);
    auto groups = find();
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0], (std::set<std::string>{"one/x", "two/x", "copy"}));
    EXPECT_EQ(groups[1], (std::set<std::string>{"one", "two"}));
}

TEST_F(FinderTest, FolderNamesDoNotMatterButContentDoes) {
    writeContent(at("first/a"), 500, 1);
    writeContent(at("first/b"), 700, 2);
    writeContent(at("second/other-name"), 500, 1);
    writeContent(at("second/b"), 700, 2);
    writeContent(at("second/.DS_Store"), 10, 9);
    EXPECT_EQ(find().back(), (std::set<std::string>{"first", "second"}));
}

TEST_F(FinderTest, SkippedEntriesMakeTheirFoldersUnique) {
    writeContent(at("one/big"), 3000, 1);
    writeContent(at("one/small"), 10, 2);
    writeContent(at("two/big"), 3000, 1);
    writeContent(at("two/small"), 10, 2);
    // The small files are below the limit: the folders are incomplete and cannot match.
    EXPECT_EQ(find(1000), (std::vector<std::set<std::string>>{{"one/big", "two/big"}}));
}

TEST_F(FinderTest, ExcludedExtensionsAndPathsAreLeftOut) {
    writeContent(at("a/x.log"), 100, 1);
    writeContent(at("b/x.log"), 100, 1);
    writeContent(at("c/.log"), 200, 2);
    writeContent(at("d/.log"), 200, 2);
    writeContent(at("skip/x"), 300, 3);
    writeContent(at("skipped/x"), 300, 3);
    writeContent(at("keep/x"), 300, 3);
    writeContent(at("e/x.LOG"), 400, 4);
    writeContent(at("f/y.Log"), 400, 4);
    excludeExtensions = {".log"};
    excludePaths = {Path(tree.at("SKIP"))};
    auto groups = find();
    std::set<std::set<std::string>> found(groups.begin(), groups.end());
    // An ending as long as the whole name does not exclude it; a sibling whose path only begins
    // with an excluded one stays in; endings compare without regard to case. Each folder holds one
    // file, so the folders are the groups.
    EXPECT_TRUE(found.count({"c", "d"}));
    EXPECT_TRUE(found.count({"skipped", "keep"}));
    EXPECT_EQ(found.size(), 2u);
}

TEST_F(FinderTest, EmptyFoldersGroupOnlyWithoutAMinimum) {
    tree.folder("empty1");
    tree.folder("empty2");
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"empty1", "empty2"}}));
    EXPECT_TRUE(find(1).empty());
}

TEST_F(FinderTest, PackagesCompareAsWholes) {
    writeContent(at("One.app/Contents/MacOS/one"), 5000, 1);
    writeContent(at("Two.app/Contents/MacOS/one"), 5000, 1);
    writeContent(at("Three.app/Contents/MacOS/one"), 5000, 2);
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"One.app", "Two.app"}}));
}

TEST_F(FinderTest, AStopBeforeTheSearchHasNoEffect) {
    writeContent(at("a/x"), 100, 1);
    writeContent(at("b/x"), 100, 1);
    DuplicateFileFinder finder([](double) {}, [](const Path&) {});
    finder.rootFolders = {tree.path()};
    Groups duplicates, similar;
    // A stop before find has no effect: find clears it.
    finder.stop();
    finder.find(duplicates, similar, true);
    ASSERT_EQ(duplicates.size(), 1u);
    EXPECT_EQ(duplicates[0].size(), 2u);
}

TEST_F(FinderTest, AStopDuringTheFileStageLeavesNoFalseFolderGroups) {
    writeContent(at("a/x"), 100, 1);
    writeContent(at("b/x"), 100, 2);
    DuplicateFileFinder* running = nullptr;
    DuplicateFileFinder finder(
        [&](double value) {
            // The walk is over; the files have not been read yet.
            if (value == 0.3)
                running->stop();
        },
        [](const Path&) {});
    running = &finder;
    finder.rootFolders = {tree.path()};
    Groups duplicates, similar;
    finder.find(duplicates, similar, true);
    EXPECT_TRUE(duplicates.empty());
}

TEST_F(FinderTest, AFileThatShrinksAfterTheWalkHasNoTwin) {
    for (const char* name : {"a/x", "b/x", "c/x"})
        writeContent(at(name), 10000, 1);
    DuplicateFileFinder finder(
        [&](double value) {
            // The walk has seen all three at full length; one is cut before its second stage.
            if (value == 0.3)
                ::truncate(tree.at("c/x").c_str(), 5000);
        },
        [](const Path&) {});
    finder.rootFolders = {tree.path()};
    Groups duplicates, similar;
    finder.find(duplicates, similar, true);
    // The copies in a and b still match, and so do their folders; c is out.
    ASSERT_EQ(duplicates.size(), 1u);
    std::set<std::string> members;
    for (const File* file : duplicates[0])
        members.insert(file->path().str());
    EXPECT_EQ(members, (std::set<std::string>{tree.at("a"), tree.at("b")}));
}

TEST_F(FinderTest, AStopWhileSizeGroupsRaceOnSeveralThreadsEndsTheSearch) {
    for (int group = 0; group < 40; ++group)
        for (const char* copy : {"a", "b"})
            writeContent(at("f" + std::to_string(group) + copy), 300000 + 1000 * group, group);
    DuplicateFileFinder* running = nullptr;
    DuplicateFileFinder finder(
        [&](double value) {
            if (value > 0.3 && value < 0.5)
                running->stop();
        },
        [](const Path&) {});
    running = &finder;
    finder.rootFolders = {tree.path()};
    finder.threads = 4;
    Groups duplicates, similar;
    finder.find(duplicates, similar, true);
    // Only the size group that was being handed out when the stop came can have finished.
    EXPECT_LE(duplicates.size(), 1u);
}

TEST_F(FinderTest, AFileSystemThatReportsNoKindsGivesTheSameGroups) {
    writeContent(at("a/one"), 5000, 1);
    writeContent(at("a/two"), 70, 2);
    writeContent(at("b/one"), 5000, 1);
    writeContent(at("b/two"), 70, 2);
    writeContent(at("loose/x"), 900, 3);
    writeContent(at("y"), 900, 3);
    writeContent(at("One.app/Contents/MacOS/tool"), 3000, 4);
    writeContent(at("Two.app/Contents/MacOS/tool"), 3000, 4);
    ASSERT_EQ(::symlink("one", at("a/link").c_str()), 0);
    ASSERT_EQ(::symlink("one", at("b/link").c_str()), 0);
    auto reported = find();
    auto orderReported = ordered;
    ASSERT_EQ(reported.size(), 3u);
    FolderListing::KindsUnknown unknown;
    EXPECT_EQ(find(), reported);
    EXPECT_EQ(ordered, orderReported);
}

TEST_F(FinderTest, FoldersDeeperThanThePathLimitAreSearched) {
    DeepFolder deep(tree.path(), PATH_MAX / 200 + 2);
    deep.write("copy1", std::string(6000, 'x'));
    deep.write("copy2", std::string(6000, 'x'));
    deep.write("other", std::string(6000, 'y'));
    ASSERT_GT(deep.path().size(), static_cast<std::size_t>(PATH_MAX));
    auto groups = find();
    ASSERT_EQ(groups.size(), 1u);
    std::string inside = deep.path().substr(tree.path().size() + 1);
    EXPECT_EQ(groups[0], (std::set<std::string>{inside + "/copy1", inside + "/copy2"}));
    EXPECT_TRUE(logLines.empty());
}

TEST_F(FinderTest, WhatTheWalkPassesOverReachesTheLogWithItsPath) {
    writeContent(at("a/x"), 100, 1);
    writeContent(at("b/x"), 100, 1);
    Socket socket(at("b/socket"));
    writeContent(at("c/Odd.app/Contents/x"), 100, 2);
    Socket packed(at("c/Odd.app/socket"));
    auto groups = find();
    // b is incomplete, so only the files match; the socket and the package are named in the log.
    EXPECT_EQ(groups, (std::vector<std::set<std::string>>{{"a/x", "b/x"}}));
    ASSERT_EQ(logLines.size(), 2u);
    EXPECT_NE(logLines[0].find(tree.at("b/socket")), std::string::npos);
    EXPECT_NE(logLines[1].find(tree.at("c/Odd.app")), std::string::npos);
}

TEST_F(FinderTest, AFolderIsNeverADuplicateOfItself) {
    writeContent(at("ov/A/s/f"), 50000, 1);
    writeContent(at("other/f"), 300, 2);
    ASSERT_EQ(::symlink(tree.at("ov").c_str(), tree.at("link-to-ov").c_str()), 0);
    for (const auto& second : {"ov", "ov/A", "ov/A/../A/s", "link-to-ov", "ov/./A/"}) {
        roots = {tree.at("ov"), tree.at(second)};
        EXPECT_TRUE(find().empty()) << second;
        roots = {tree.at(second), tree.at("ov")};
        EXPECT_TRUE(find().empty()) << second;
    }
}

TEST_F(FinderTest, ExclusionsNamedThroughALinkStillApplyToTheRealPaths) {
    writeContent(at("real/a/x"), 100, 1);
    writeContent(at("real/b/x"), 100, 1);
    writeContent(at("real/skip/x"), 100, 1);
    ASSERT_EQ(::symlink(tree.at("real").c_str(), tree.at("link").c_str()), 0);
    roots = {tree.at("link")};
    excludePaths = {Path(tree.at("link/skip"))};
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"real/a", "real/b"}}));
}

TEST_F(FinderTest, ARootInsideAHiddenFolderIsSearchedThoughTheOuterRootSkipsHiddenFolders) {
    writeContent(at("top/.hidden/x"), 100, 1);
    writeContent(at("top/.hidden/y"), 100, 1);
    roots = {tree.at("top"), tree.at("top/.hidden")};
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"top/.hidden/x", "top/.hidden/y"}}));
}

TEST_F(FinderTest, NamesOfOneFileAreNeverAGroup) {
    writeContent(at("a/x"), 5000, 1);
    ASSERT_EQ(::link(at("a/x").c_str(), at("b/x").c_str()), 0);
    ASSERT_EQ(::link(at("a/x").c_str(), at("a/y").c_str()), 0);
    EXPECT_TRUE(find().empty());
    // A copy with blocks of its own is a duplicate of every name.
    writeContent(at("z"), 5000, 1);
    EXPECT_EQ(find(), (std::vector<std::set<std::string>>{{"a/x", "a/y", "b/x", "z"}}));
}

TEST_F(FinderTest, EachFinderThrottlesItsOwnPathReports) {
    writeContent(at("a/x"), 100, 1);
    int first = 0, second = 0;
    DuplicateFileFinder one([](double) {}, [&](const Path&) { ++first; });
    DuplicateFileFinder two([](double) {}, [&](const Path&) { ++second; });
    one.rootFolders = two.rootFolders = {tree.path()};
    Groups duplicates, similar;
    one.find(duplicates, similar, true);
    two.find(duplicates, similar, true);
    // However close together, each search reports where it begins.
    EXPECT_GE(first, 1);
    EXPECT_GE(second, 1);
}

} // namespace
