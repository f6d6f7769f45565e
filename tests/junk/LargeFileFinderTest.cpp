#include "Core/junk/LargeFileFinder.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>

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

// A chain of folders below `top` whose path is longer than PATH_MAX, with a file at the bottom.
// The kernel refuses such a path whole, so it is built and removed relative to folder descriptors.
class DeepChain {
public:
    DeepChain(const std::string& top, std::size_t bytes) : top_(top) {
        int fd = ::open(top.c_str(), O_RDONLY | O_DIRECTORY);
        path_ = top;
        for (int level = 0; level < levels; ++level) {
            ::mkdirat(fd, component.c_str(), 0755);
            int next = ::openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY);
            ::close(fd);
            fd = next;
            path_ += "/" + component;
        }
        int file = ::openat(fd, "deep.bin", O_WRONLY | O_CREAT, 0644);
        EXPECT_EQ(::ftruncate(file, static_cast<off_t>(bytes)), 0);
        ::close(file);
        ::close(fd);
        path_ += "/deep.bin";
    }
    ~DeepChain() {
        int fd = ::open(top_.c_str(), O_RDONLY | O_DIRECTORY);
        removeBelow(fd, levels);
        ::close(fd);
    }
    const std::string& path() const { return path_; }

private:
    static void removeBelow(int fd, int depth) {
        if (depth == 0) {
            ::unlinkat(fd, "deep.bin", 0);
            return;
        }
        int next = ::openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY);
        removeBelow(next, depth - 1);
        ::close(next);
        ::unlinkat(fd, component.c_str(), AT_REMOVEDIR);
    }

    static constexpr int levels = 30;
    static inline const std::string component = std::string(200, 'd');
    std::string top_;
    std::string path_;
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

TEST_F(LargeFileFinderTest, AFileDeeperThanThePathLimitIsFound) {
    DeepChain chain(home.path(), 6000);
    ASSERT_GT(chain.path().size(), static_cast<std::size_t>(PATH_MAX));
    ASSERT_TRUE(run(5000));
    EXPECT_EQ(recorder->found(), (std::vector<std::pair<std::string, std::int64_t>>{{chain.path(), 6000}}));
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
