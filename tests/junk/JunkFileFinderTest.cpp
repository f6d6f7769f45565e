#include "Core/junk/JunkFileFinder.h"
#include "Core/platform/PurgeableSpace.h"

#include "tests/support/JunkScanRecorder.h"
#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

using namespace core;
using namespace core::testing;

namespace {

class JunkFrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        finder = JunkFileFinder::make();
        finder->delegate = recorder;
    }
    void TearDown() override { PurgeableSpace::setProvider(nullptr); }

    TempTree root, home;
    ScopedSystemPaths paths{root.path(), home.path()};
    ScopedRecordingAnalytics analytics;
    std::shared_ptr<JunkScanRecorder> recorder = std::make_shared<JunkScanRecorder>();
    std::shared_ptr<JunkFileFinder> finder;
};

TEST_F(JunkFrameTest, NothingSelectedStillWalksEveryStepToTheEnd) {
    ASSERT_TRUE(runJunkScan(*finder, noneConfig(), *recorder));
    EXPECT_EQ(recorder->count("junkScanCompleted"), 1);
    EXPECT_EQ(recorder->count("screenshotScanSkipped"), 1);
    EXPECT_EQ(recorder->count("diskImagesFound"), 1);
    EXPECT_TRUE(recorder->files("diskImage").empty());
    EXPECT_TRUE(recorder->cameOnMainThread("diskImagesFound"));
    // Without an application stage too, the end comes where the finds come.
    EXPECT_TRUE(recorder->cameOnMainThread("junkScanCompleted"));
    EXPECT_TRUE(recorder->cameOnMainThread("screenshotScanSkipped"));
    EXPECT_TRUE(analytics->events().empty());
    // Four parts are done; nothing completes the fifth.
    EXPECT_DOUBLE_EQ(finder->progress()->fraction(), 4.0 / 15);
}

TEST_F(JunkFrameTest, ScreenshotStepRunsItsQueryInsteadOfSkipping) {
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::screenshotFiles), *recorder));
    EXPECT_EQ(recorder->count("screenshotScanSkipped"), 0);
    auto events = analytics->eventsFor("screenshot");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].number, 2);
    EXPECT_EQ(events[0].params.at("num"), "0");
    EXPECT_EQ(recorder->count("junkScanCompleted"), 1);
    EXPECT_DOUBLE_EQ(finder->progress()->fraction(), 4.0 / 15);
}

TEST_F(JunkFrameTest, DiskImagesComeInOneCall) {
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::dmgFiles), *recorder));
    EXPECT_EQ(recorder->count("diskImagesFound"), 1);
    EXPECT_EQ(analytics->eventsFor("dmg").size(), 1u);
    EXPECT_EQ(recorder->count("screenshotScanSkipped"), 1);
}

TEST_F(JunkFrameTest, PurgeableSpaceIsReportedForTheRootVolumeWithoutTheTrash) {
    std::string askedFor;
    PurgeableSpace::setProvider([&](const std::string& volume) {
        askedFor = volume;
        return std::uint64_t{123'456'789};
    });
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::purgeableSpace), *recorder));
    auto files = recorder->files("purgeableSpaceFound");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].url.path(), "/");
    EXPECT_EQ(files[0].size, 123'456'789);
    EXPECT_EQ(askedFor, root.path());
    EXPECT_TRUE(recorder->cameOnMainThread("purgeableSpaceFound"));
    // Purgeable space sends no diagnostic event.
    EXPECT_TRUE(analytics->events().empty());
}

TEST_F(JunkFrameTest, ApplicationStageCompletesTheLastPartOnTheMainQueue) {
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::appCaches), *recorder));
    EXPECT_EQ(recorder->count("junkScanCompleted"), 1);
    EXPECT_TRUE(recorder->cameOnMainThread("junkScanCompleted"));
    EXPECT_DOUBLE_EQ(finder->progress()->fraction(), 1.0);
}

TEST_F(JunkFrameTest, ExclusionsReachTheApplicationStage) {
    finder->exclubeFilesUrls = {URL::fileURL("/a")};
    finder->exclubeAppUrls = {URL::fileURL("/Applications/X.app")};
    finder->exclubeAppIds = {"com.example.x"};
    ASSERT_TRUE(runJunkScan(*finder, noneConfig(), *recorder));
    EXPECT_EQ(finder->appJunkFinder()->exclubeFilesUrls, finder->exclubeFilesUrls);
    EXPECT_EQ(finder->appJunkFinder()->exclubeAppUrls, finder->exclubeAppUrls);
    EXPECT_EQ(finder->appJunkFinder()->exclubeAppIds, finder->exclubeAppIds);
}

TEST_F(JunkFrameTest, StoppedWhileRunningSkipsTheRestAndStillCompletesOnce) {
    root.file("Library/Caches/one", 10);
    DispatchSemaphore reached(0), release(0);
    PurgeableSpace::setProvider([&](const std::string&) {
        reached.signal();
        release.wait();
        return std::uint64_t{1};
    });
    auto config = noneConfig();
    config.systemCaches = config.purgeableSpace = config.screenshotFiles = config.appCaches = true;
    finder->start(config);
    ASSERT_TRUE(reached.wait(std::chrono::seconds(10)));
    finder->stop();
    release.signal();
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return recorder->completed(); }, std::chrono::seconds(10)));
    DispatchQueue::drainMain();
    EXPECT_EQ(recorder->count("junkScanCompleted"), 1);
    EXPECT_EQ(recorder->paths("systemCacheFound"), (std::vector<std::string>{root.at("Library/Caches/one")}));
    // The screenshot step takes its empty path and still reports; the application stage never starts.
    EXPECT_EQ(analytics->eventsFor("screenshot").size(), 1u);
    EXPECT_EQ(analytics->eventsFor("screenshot")[0].params.at("num"), "0");
    EXPECT_TRUE(recorder->cameOnMainThread("junkScanCompleted"));
    EXPECT_LT(finder->progress()->fraction(), 1.0);
}

TEST_F(JunkFrameTest, TheEndComesAfterEveryFindWithoutDrainingTheMainQueue) {
    home.file("Downloads/a", 1);
    home.file("Downloads/b", 2);
    root.file("Library/Caches/c", 3);
    auto config = noneConfig();
    config.downloadsFiles = config.systemCaches = true;
    finder->start(config);
    // A host that stops pumping at the end must already hold every find.
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return recorder->completed(); }, std::chrono::seconds(10)));
    EXPECT_EQ(recorder->count("downloadFileFound"), 2);
    EXPECT_EQ(recorder->count("systemCacheFound"), 1);
    EXPECT_EQ(recorder->count("screenshotScanSkipped"), 1);
    EXPECT_EQ(recorder->count("diskImagesFound"), 1);
}

TEST_F(JunkFrameTest, TheFinderCanScanAgain) {
    root.file("Library/Caches/one", 10);
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::systemCaches), *recorder));
    auto second = std::make_shared<JunkScanRecorder>();
    finder->delegate = second;
    ASSERT_TRUE(runJunkScan(*finder, onlyConfig(&JunkFileFinderConfig::systemCaches), *second));
    EXPECT_EQ(recorder->count("systemCacheFound"), 1);
    EXPECT_EQ(second->count("systemCacheFound"), 1);
    EXPECT_EQ(analytics->eventsFor("systemCache").size(), 2u);
}

} // namespace
