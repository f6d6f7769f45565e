#include "Core/deletion/Deleter.h"
#include "Core/platform/Dispatch.h"
#include "Core/platform/PurgeableSpace.h"

#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace core;
using core::testing::entryExists;
using core::testing::ScopedRecordingAnalytics;
using core::testing::TempTree;

namespace {

// Everything a deletion tells its host, in order.
struct Recorder : DeleterDelegate {
    std::vector<std::string> calls;
    std::vector<double> progress;
    int completions = 0;
    bool photoReply = false;
    int photoFailures = 0;

    void deleterCurrent(const std::string&) override {}
    void deleterProgress(double value) override { progress.push_back(value); }
    void deleterDeleted(const std::string& path, const std::optional<std::string>&) override {
        calls.push_back("deleted " + path);
    }
    void deleterDeleteFailed(const std::string& path, std::int32_t error) override {
        calls.push_back("failed " + path + " " + std::to_string(error));
    }
    void deleterPhotoFailed(bool authError, std::function<void(bool)> reply) override {
        ++photoFailures;
        calls.push_back(std::string("photoFailed ") + (authError ? "auth" : "other"));
        bool again = photoReply;
        photoReply = false;
        reply(again);
    }
    void deleterCompleted() override {
        ++completions;
        calls.push_back("completed");
    }
};

struct Deletion {
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
    std::shared_ptr<Deleter> deleter;

    explicit Deletion(std::vector<std::string> files, std::vector<Photo> photos = {},
                      std::optional<std::string> library = std::nullopt,
                      std::vector<std::string> scripts = {}, bool purgeable = false)
        : deleter(Deleter::make(std::move(files), std::move(photos), std::move(library), std::move(scripts),
                                purgeable)) {
        deleter->delegate = recorder;
    }
    // Starts and pumps the main queue until the deletion has ended.
    void run() {
        deleter->start();
        finish();
    }
    void finish() {
        ASSERT_TRUE(DispatchQueue::runUntil([&] { return recorder->completions > 0; }, Seconds(20)));
        DispatchQueue::runFor(Seconds(0.05));
    }
};

TEST(Deleter, NothingToDeleteCompletesWithinStartWithoutProgress) {
    Deletion deletion({});
    deletion.deleter->start();
    EXPECT_EQ(deletion.recorder->completions, 1);
    EXPECT_TRUE(deletion.recorder->progress.empty());
    EXPECT_EQ(deletion.deleter->totalCount(), 0);
}

TEST(Deleter, StopBeforeStartCompletesOnceAndNothingRuns) {
    TempTree tree;
    auto file = tree.file("a", 10);
    Deletion deletion({file});
    deletion.deleter->stop();
    deletion.deleter->stop();
    deletion.deleter->start();
    DispatchQueue::runFor(Seconds(0.1));
    EXPECT_EQ(deletion.recorder->calls, (std::vector<std::string>{"completed"}));
    EXPECT_TRUE(entryExists(file));
}

TEST(Deleter, DeletesFromTheLastPathToTheFirstAndCountsEach) {
    TempTree tree;
    auto a = tree.file("a", 10);
    auto b = tree.file("folder/inner/b", 10);
    auto missing = tree.at("missing");
    Deletion deletion({a, tree.at("folder"), missing});
    deletion.run();
    EXPECT_EQ(deletion.recorder->calls,
              (std::vector<std::string>{"deleted " + missing, "deleted " + tree.at("folder"), "deleted " + a,
                                        "completed"}));
    EXPECT_EQ(deletion.recorder->progress, (std::vector<double>{1.0 / 3, 2.0 / 3, 1.0}));
    EXPECT_FALSE(entryExists(a));
    EXPECT_FALSE(entryExists(b));
}

// The kernel's own files refuse removal even to root: the refusal goes to the helper, and without
// a helper every such path fails with no number.
TEST(Deleter, ARefusedPathIsRetriedByTheHelperAndFailsWithoutOne) {
    ScopedRecordingAnalytics analytics;
    Deletion deletion({"/proc/version"});
    deletion.deleter->diagnosticTag = "t";
    deletion.run();
    EXPECT_EQ(deletion.recorder->calls, (std::vector<std::string>{"failed /proc/version 0", "completed"}));
    std::vector<std::string> lines;
    for (const auto& log : analytics->logs())
        lines.push_back(log.text + " @" + std::to_string(log.level));
    EXPECT_NE(
        std::find(lines.begin(), lines.end(), "[DeleteFlow][t] enqueueHelper path=/proc/version reason=1 @2"),
        lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "[DeleteFlow][t] helper connect failed @3"), lines.end());
    EXPECT_EQ(lines.back(),
              "[DeleteFlow][t] completed currentCount=1 totalCount=1 helperActionError=false @2");
}

TEST(Deleter, WithoutATagNothingIsLogged) {
    ScopedRecordingAnalytics analytics;
    TempTree tree;
    Deletion deletion({tree.file("a", 1)});
    deletion.run();
    EXPECT_TRUE(analytics->logs().empty());
}

TEST(Deleter, ToTheTrashTheItemCanBeFoundThere) {
    TempTree tree;
    core::testing::ScopedSystemPaths paths("/", tree.folder("home"));
    auto file = tree.file("work/a.txt", 10);
    Deletion deletion({file});
    deletion.deleter->isMoveToTrash = true;
    deletion.run();
    EXPECT_EQ(deletion.recorder->calls.front(), "deleted " + file);
    EXPECT_TRUE(entryExists(tree.at("home/.local/share/Trash/files/a.txt")));
}

TEST(Deleter, PurgeableSpaceAloneIsCleanedAndCounted) {
    ScopedRecordingAnalytics analytics;
    Deletion deletion({}, {}, std::nullopt, {}, true);
    deletion.run();
    EXPECT_EQ(deletion.recorder->calls, (std::vector<std::string>{"deleted /", "completed"}));
    EXPECT_EQ(deletion.deleter->currentCount(), 1);
    EXPECT_EQ(analytics->events().front().number, 25);
}

TEST(Deleter, ACleanerThatDidNotFinishIsReportedWithWhatItCleaned) {
    ScopedRecordingAnalytics analytics;
    PurgeableSpaceHelper::shared().setCleaner({[](std::function<void(bool)> done) { done(false); },
                                               [] { return std::uint64_t{5000}; },
                                               [] { return std::uint64_t{1000}; }, nullptr});
    Deletion deletion({}, {}, std::nullopt, {}, true);
    deletion.run();
    PurgeableSpaceHelper::shared().setCleaner({});
    auto events = analytics->events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].number, 24);
    EXPECT_EQ(events[1].params.at("cleanedSize"), "4000");
    EXPECT_EQ(events[1].params.at("currentPurgeableSize"), "1000");
}

// Scripts need the helper; when it cannot be reached they are never counted, and the deletion
// must still end.
TEST(Deleter, ScriptsWithoutAHelperLeaveTheCountShortButTheDeletionEnds) {
    Deletion deletion({}, {}, std::nullopt, {"true"}, true);
    deletion.run();
    EXPECT_EQ(deletion.recorder->completions, 1);
    EXPECT_EQ(deletion.deleter->currentCount(), 1);
    EXPECT_EQ(deletion.deleter->totalCount(), 2);
}

TEST(Deleter, APhotoStageThatFailsAsksTheHostAndCanBeRetried) {
    Photo photo{"ID-1", File{URL::fileURL("/lib/originals/1.jpg"), 10}};
    Deletion deletion({}, {photo}, "/lib", {});
    deletion.recorder->photoReply = true;
    deletion.run();
    EXPECT_EQ(deletion.recorder->photoFailures, 2);
    EXPECT_EQ(deletion.recorder->calls,
              (std::vector<std::string>{"photoFailed other", "photoFailed other",
                                        "failed /lib/originals/1.jpg 0", "completed"}));
}

} // namespace
