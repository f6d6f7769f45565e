#include "Core/platform/DeletionWalk.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

using namespace core;
using core::testing::entryExists;
using core::testing::TempTree;
using Event = DeletionWalk::Event;

namespace {

struct Outcome {
    std::vector<std::string> removed;
    std::vector<std::pair<std::string, int>> unreadable;
};

// Removes everything the walk meets, as a deleter does.
Outcome removeAll(DeletionWalk& walk) {
    Outcome outcome;
    while (auto entry = walk.next()) {
        if (entry->event == Event::unreadable)
            outcome.unreadable.emplace_back(entry->path, entry->errorNumber);
        else if (entry->event != Event::folder && walk.removeCurrent() == 0)
            outcome.removed.push_back(entry->path);
    }
    return outcome;
}

TEST(DeletionWalk, RemovesATreeContentsFirstAndTheTopLast) {
    TempTree tree;
    tree.file("top/a", 10);
    tree.file("top/deep/er/b", 10);
    tree.folder("top/empty");
    DeletionWalk walk(tree.at("top"));
    auto outcome = removeAll(walk);
    EXPECT_TRUE(outcome.unreadable.empty());
    EXPECT_FALSE(entryExists(tree.at("top")));
    ASSERT_EQ(outcome.removed.size(), 6u);
    EXPECT_EQ(outcome.removed.back(), tree.at("top"));
    auto position = [&](const std::string& path) {
        return std::find(outcome.removed.begin(), outcome.removed.end(), path) - outcome.removed.begin();
    };
    EXPECT_LT(position(tree.at("top/deep/er/b")), position(tree.at("top/deep/er")));
    EXPECT_LT(position(tree.at("top/deep/er")), position(tree.at("top/deep")));
}

TEST(DeletionWalk, LinksAreRemovedNeverTheirTargets) {
    TempTree tree;
    auto outside = tree.file("outside/keep", 10);
    tree.folder("top");
    ::symlink(tree.at("outside").c_str(), tree.at("top/toFolder").c_str());
    ::symlink(outside.c_str(), tree.at("top/toFile").c_str());
    DeletionWalk walk(tree.at("top"));
    removeAll(walk);
    EXPECT_FALSE(entryExists(tree.at("top")));
    EXPECT_TRUE(entryExists(outside));
}

TEST(DeletionWalk, RefusesATopThatIsALinkOrNotAFolder) {
    TempTree tree;
    auto file = tree.file("outside/keep", 10);
    ::symlink(tree.at("outside").c_str(), tree.at("link").c_str());
    EXPECT_EQ(DeletionWalk(tree.at("link")).error(), ELOOP);
    EXPECT_EQ(DeletionWalk(tree.at("link/")).error(), ELOOP);
    EXPECT_EQ(DeletionWalk(file).error(), ENOTDIR);
    EXPECT_EQ(DeletionWalk(tree.at("missing")).error(), ENOENT);
    DeletionWalk refused(tree.at("link"));
    EXPECT_FALSE(refused.next());
    EXPECT_TRUE(entryExists(file));
}

// A folder replaced by a link to somewhere else between being listed and being entered: the walk
// must not follow the link, and what lies behind it survives.
TEST(DeletionWalk, AFolderSwappedForALinkWhileWalkingIsNotEntered) {
    TempTree tree;
    auto precious = tree.file("precious/data", 10);
    tree.file("top/inner/x", 10);
    DeletionWalk walk(tree.at("top"));
    walk.setBeforeEnteringForTesting([&](const std::string& path) {
        if (path == tree.at("top/inner")) {
            std::filesystem::rename(path, tree.at("moved"));
            ::symlink(tree.at("precious").c_str(), path.c_str());
        }
    });
    auto outcome = removeAll(walk);
    ASSERT_EQ(outcome.unreadable.size(), 1u);
    EXPECT_EQ(outcome.unreadable[0].first, tree.at("top/inner"));
    EXPECT_TRUE(entryExists(precious));
    EXPECT_TRUE(entryExists(tree.at("moved/x")));
}

TEST(DeletionWalk, AFolderSwappedForAnotherFolderIsNotEntered) {
    TempTree tree;
    tree.file("top/inner/x", 10);
    auto other = tree.file("other/y", 10);
    DeletionWalk walk(tree.at("top"));
    walk.setBeforeEnteringForTesting([&](const std::string& path) {
        if (path == tree.at("top/inner")) {
            std::filesystem::rename(path, tree.at("moved"));
            std::filesystem::rename(tree.at("other"), path);
        }
    });
    auto outcome = removeAll(walk);
    ASSERT_EQ(outcome.unreadable.size(), 1u);
    EXPECT_EQ(outcome.unreadable[0].second, ELOOP);
    EXPECT_TRUE(entryExists(tree.at("top/inner/y")));
}

TEST(DeletionWalk, ASkippedFolderIsNeitherEnteredNorFinished) {
    TempTree tree;
    tree.file("top/keep/x", 10);
    tree.file("top/y", 10);
    DeletionWalk walk(tree.at("top"));
    std::vector<std::string> done;
    while (auto entry = walk.next()) {
        if (entry->event == Event::folder && entry->path == tree.at("top/keep"))
            walk.skip();
        if (entry->event == Event::folderDone || entry->event == Event::file)
            done.push_back(entry->path);
    }
    EXPECT_EQ(done, (std::vector<std::string>{tree.at("top/y"), tree.at("top")}));
}

} // namespace
