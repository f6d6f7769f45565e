#include "Core/junk/LargeFileFinder.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace core;
using namespace core::testing;

namespace {

class LargeFilesRecorder final : public LargeFileFinderDelegate {
public:
    void largeFileScanning(const URL&) override {
        noteThread();
        ++scanning;
    }
    void largeFilesFound(const std::vector<File>& found) override {
        noteThread();
        std::lock_guard lock(mutex);
        files = found;
        ++reports;
    }
    std::vector<std::pair<std::string, std::int64_t>> found() {
        std::lock_guard lock(mutex);
        std::vector<std::pair<std::string, std::int64_t>> listed;
        for (const auto& file : files)
            listed.emplace_back(file.url.path(), file.size);
        return listed;
    }

    void noteThread() {
        if (std::this_thread::get_id() != mainThread)
            ++offMainCalls;
    }

    // The test's thread is the one that pumps the main queue.
    const std::thread::id mainThread = std::this_thread::get_id();
    std::atomic<int> offMainCalls{0};
    std::mutex mutex;
    std::vector<File> files;
    std::atomic<int> reports{0};
    std::atomic<int> scanning{0};
};

class LargeFileFinderTest : public ::testing::Test {
protected:
    void SetUp() override {
        finder = LargeFileFinder::make();
        finder->delegate = recorder;
    }
    bool run(std::int64_t minSize, int reports = 1) {
        finder->start(minSize);
        return DispatchQueue::runUntil([&] { return recorder->reports == reports; },
                                       std::chrono::seconds(20));
    }

    TempTree home;
    ScopedSystemPaths paths{"/", home.path()};
    std::shared_ptr<LargeFilesRecorder> recorder = std::make_shared<LargeFilesRecorder>();
    std::shared_ptr<LargeFileFinder> finder;
};

TEST_F(LargeFileFinderTest, BiggestFirstFromTheMinimumUp) {
    home.file("a/medium", 5000);
    home.file("b/large", 9000);
    home.file("b/small", 100);
    home.file("c/equal-2", 5000);
    ASSERT_TRUE(run(5000));
    EXPECT_EQ(recorder->found(),
              (std::vector<std::pair<std::string, std::int64_t>>{
                  {home.at("b/large"), 9000}, {home.at("a/medium"), 5000}, {home.at("c/equal-2"), 5000}}));
}

TEST_F(LargeFileFinderTest, MinimumZeroListsEveryFileOfTheHomeFolder) {
    home.file("x", 0);
    home.file("deep/er/y", 1);
    ASSERT_TRUE(run(0));
    EXPECT_EQ(recorder->found().size(), 2u);
}

TEST_F(LargeFileFinderTest, TheDelegateIsCalledOnTheMainQueue) {
    for (int i = 0; i < 50; ++i)
        home.file("many/" + std::to_string(i) + "/f", 10);
    ASSERT_TRUE(run(0));
    EXPECT_EQ(recorder->found().size(), 50u);
    EXPECT_EQ(recorder->offMainCalls, 0);
}

TEST_F(LargeFileFinderTest, ExcludedFoldersAndFilesAreLeftOut) {
    home.file("keep/big", 2000);
    home.file("skip/big", 2000);
    home.file("exact", 2000);
    finder->exclubeFilesUrls = {URL::fileURL(home.at("skip")), URL::fileURL(home.at("exact"))};
    ASSERT_TRUE(run(1000));
    EXPECT_EQ(recorder->found(),
              (std::vector<std::pair<std::string, std::int64_t>>{{home.at("keep/big"), 2000}}));
}

TEST_F(LargeFileFinderTest, AgainWithAnotherMinimumOnTheSameQuery) {
    home.file("a", 100);
    home.file("b", 10000);
    auto query = finder->query();
    ASSERT_TRUE(run(50));
    EXPECT_EQ(recorder->found().size(), 2u);
    ASSERT_TRUE(run(5000, 2));
    EXPECT_EQ(recorder->found().size(), 1u);
    EXPECT_EQ(finder->query(), query);
}

TEST_F(LargeFileFinderTest, StoppedSearchReportsNothing) {
    for (int i = 0; i < 300; ++i)
        home.file("many/" + std::to_string(i) + "/f", 10);
    finder->start(0);
    finder->stop();
    DispatchQueue::runFor(std::chrono::milliseconds(300));
    EXPECT_EQ(recorder->reports, 0);
}

} // namespace
