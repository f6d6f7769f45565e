#include "Core/foundation/Progress.h"
#include "Core/foundation/FileFinderContext.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace core;
using namespace std::chrono_literals;

namespace {

TEST(ValueObservable, DeliversTheFirstValueOfAWindowOnly) {
    std::vector<int> delivered;
    int produced = 0;
    auto observable = ValueObservable<int>::make([&](int value) { delivered.push_back(value); });
    observable->update([&] { return ++produced; });
    observable->update([&] { return ++produced; });
    observable->update([&] { return ++produced; });
    DispatchQueue::runUntil([&] { return !delivered.empty(); }, 5s);
    DispatchQueue::runFor(0.05s);
    EXPECT_EQ(delivered, (std::vector<int>{1}));
    // A dropped value is never computed.
    EXPECT_EQ(produced, 1);
}

TEST(ValueObservable, AcceptsAgainAfterADelivery) {
    std::vector<int> delivered;
    auto observable = ValueObservable<int>::make([&](int value) { delivered.push_back(value); });
    observable->update([] { return 1; });
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return delivered.size() == 1; }, 5s));
    observable->update([] { return 2; });
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return delivered.size() == 2; }, 5s));
    EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
}

TEST(ValueObservable, DeliversEvenWhenTheOwnerLetGo) {
    int delivered = 0;
    ValueObservable<int>::make([&](int value) { delivered = value; })->update([] { return 9; });
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return delivered == 9; }, 5s));
}

TEST(Progress, WeightsCompletedPartsAndTheRunningPart) {
    Progress progress({1, 1, 1, 1, 11}, [](double) {});
    EXPECT_EQ(progress.total, 15);
    progress.nextPart();
    EXPECT_DOUBLE_EQ(progress.fraction(), 1.0 / 15);
    for (int i = 0; i < 3; ++i)
        progress.nextPart();
    progress.partTotal = 100;
    progress.partProgress = 50;
    EXPECT_DOUBLE_EQ(progress.fraction(), (4 + 0.5 * 11) / 15);
    progress.nextPart();
    EXPECT_DOUBLE_EQ(progress.fraction(), 1.0);
    EXPECT_EQ(progress.partTotal, 0);
    EXPECT_EQ(progress.partProgress, 0);
}

TEST(Progress, PublishesOnTheMainQueue) {
    std::vector<double> published;
    bool onMain = false;
    Progress progress({1, 3}, [&](double value) {
        published.push_back(value);
        onMain = DispatchQueue::current() == DispatchQueue::main();
    });
    progress.nextPart();
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return !published.empty(); }, 5s));
    EXPECT_DOUBLE_EQ(published.front(), 0.25);
    EXPECT_TRUE(onMain);
}

TEST(FileFinderContext, InterruptWithoutCallbackOnlySetsTheFlag) {
    auto context = FileFinderContext::make([](URL) {});
    EXPECT_FALSE(context->interrupted());
    context->interrupt();
    EXPECT_TRUE(context->interrupted());
}

TEST(FileFinderContext, EveryInterruptCallsTheCallback) {
    auto context = FileFinderContext::make([](URL) {});
    int calls = 0;
    context->setOnInterrupted([&] { ++calls; });
    context->interrupt();
    context->interrupt();
    EXPECT_EQ(calls, 2);
}

TEST(FileFinderContext, WorkNotStartedBeforeInterruptNeverRuns) {
    auto context = FileFinderContext::make([](URL) {});
    auto queue = DispatchQueue::makeSerial("test.context");
    DispatchSemaphore gate(0);
    std::atomic<bool> firstRan{false}, secondRan{false}, sawInterrupt{false};
    context->async(queue, [&] {
        firstRan = true;
        gate.wait();
        sawInterrupt = FileFinderContext::currentIsInterrupted();
    });
    context->async(queue, [&] { secondRan = true; });
    while (!firstRan)
        std::this_thread::yield();
    context->interrupt();
    gate.signal();
    queue->sync([] {});
    EXPECT_TRUE(sawInterrupt);
    EXPECT_FALSE(secondRan);
}

TEST(FileFinderContext, CurrentIsTheContextOfTheRunningQueue) {
    auto context = FileFinderContext::make([](URL) {});
    auto queue = DispatchQueue::makeSerial("test.current");
    std::shared_ptr<FileFinderContext> seen;
    std::atomic<bool> done{false};
    context->async(queue, [&] {
        seen = FileFinderContext::current();
        done = true;
    });
    while (!done)
        std::this_thread::yield();
    EXPECT_EQ(seen, context);
    bool unclaimedHasNone = false;
    DispatchQueue::makeSerial("test.unclaimed")->sync([&] {
        unclaimedHasNone =
            FileFinderContext::current() == nullptr && !FileFinderContext::currentIsInterrupted();
    });
    EXPECT_TRUE(unclaimedHasNone);
}

TEST(FileFinderContext, PublishesURLsThroughItsObservable) {
    std::vector<std::string> seen;
    auto context = FileFinderContext::make([&](URL url) { seen.push_back(url.path()); });
    context->urlObservable().update([] { return URL::fileURL("/Library/Caches"); });
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return !seen.empty(); }, 5s));
    EXPECT_EQ(seen, (std::vector<std::string>{"/Library/Caches"}));
}

} // namespace
