#include "Core/duplicates/DuplicateFileFinder.h"
#include "Core/platform/Dispatch.h"

#include "tests/dff/TreeFixtures.h"
#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace core;
using core::testing::TempTree;

namespace {

class Recorder final : public DuplicateFileFinderDelegate {
public:
    void duplicateFileFinderCurrent(const URL&) override {}
    void duplicateFileFinderProgress(double value) override {
        onMain = onMain && DispatchQueue::current() == DispatchQueue::main();
        last = value;
    }
    void duplicateFileFinderCompleted(const DuplicateGroups& found, const DuplicateGroups& alike) override {
        duplicates = found;
        similar = alike;
        ++completions;
    }
    DuplicateGroups duplicates, similar;
    double last = 0;
    bool onMain = true;
    int completions = 0;
};

TEST(DuplicateFileFinderBridge, HandsGroupsOfFilesToTheDelegateOnTheMainQueue) {
    TempTree tree;
    std::ofstream(tree.file("a/x")) << std::string(5000, 'x');
    std::ofstream(tree.file("x-copy")) << std::string(5000, 'x');
    std::ofstream(tree.file("a/y")) << "different";
    auto recorder = std::make_shared<Recorder>();
    auto finder = DuplicateFileFinder::shared();
    finder->delegate = recorder;
    finder->setRootFolderURLs({URL::fileURL(tree.path())});
    finder->setMinFileSize(0);
    finder->start(true);
    ASSERT_TRUE(
        DispatchQueue::runUntil([&] { return recorder->completions == 1; }, std::chrono::seconds(20)));
    ASSERT_EQ(recorder->duplicates.size(), 1u);
    ASSERT_EQ(recorder->duplicates[0].size(), 2u);
    for (const auto& member : recorder->duplicates[0]) {
        ASSERT_TRUE(std::holds_alternative<File>(member));
        EXPECT_EQ(std::get<File>(member).size, 5000);
    }
    EXPECT_TRUE(recorder->similar.empty());
    EXPECT_TRUE(recorder->onMain);
    // Progress is throttled like every scan's: the first value of a window, the end of the walk,
    // comes a moment after it was offered.
    DispatchQueue::runFor(std::chrono::milliseconds(100));
    EXPECT_GE(recorder->last, 0.3);
}

TEST(DuplicateFileFinderBridge, NoHitsStillComplete) {
    TempTree tree;
    tree.file("only", 10);
    auto recorder = std::make_shared<Recorder>();
    auto finder = DuplicateFileFinder::shared();
    finder->delegate = recorder;
    finder->setRootFolderURLs({URL::fileURL(tree.path())});
    finder->start(false);
    ASSERT_TRUE(
        DispatchQueue::runUntil([&] { return recorder->completions == 1; }, std::chrono::seconds(20)));
    EXPECT_TRUE(recorder->duplicates.empty());
    EXPECT_TRUE(recorder->similar.empty());
}

TEST(DuplicateFileFinderBridge, EachFinderHasAnEngineOfItsOwn) {
    TempTree pairs, single;
    std::ofstream(pairs.file("a")) << "same";
    std::ofstream(pairs.file("b")) << "same";
    single.file("only", 10);
    DFFDuplicateFileFinder first;
    first.setRootFolderURLs({URL::fileURL(pairs.path())});
    {
        DFFDuplicateFileFinder second;
        second.setRootFolderURLs({URL::fileURL(single.path())});
        EXPECT_TRUE(second.find(true).duplicateFiles.empty());
    }
    // Neither the second's settings nor its end reached the first.
    auto found = first.find(true);
    ASSERT_EQ(found.duplicateFiles.size(), 1u);
    EXPECT_EQ(found.duplicateFiles[0].size(), 2u);
}

TEST(DuplicateFileFinderBridge, WhatTheWalkPassesOverIsLogged) {
    TempTree tree;
    tree.file("kept", 10);
    dff::testing::Socket socket(tree.at("socket"));
    auto recording = std::make_shared<core::testing::RecordingAnalytics>();
    setAnalytics(recording);
    DFFDuplicateFileFinder finder;
    finder.setRootFolderURLs({URL::fileURL(tree.path())});
    finder.find(true);
    setAnalytics(nullptr);
    auto logs = recording->logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_NE(logs[0].text.find(tree.at("socket")), std::string::npos);
}

} // namespace
