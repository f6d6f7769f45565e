#include "Core/platform/Dispatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace core;
using namespace std::chrono_literals;

namespace {

bool pumpUntil(const std::function<bool()>& predicate) {
    return DispatchQueue::runUntil(predicate, 10s);
}

TEST(SerialQueue, RunsItemsOneAtATimeInSubmissionOrder) {
    auto queue = DispatchQueue::makeSerial("test.serial");
    std::vector<int> order;
    std::atomic<int> running{0}, overlaps{0}, done{0};
    for (int i = 0; i < 200; ++i)
        queue->async([&, i] {
            if (running.fetch_add(1) != 0)
                ++overlaps;
            order.push_back(i);
            running.fetch_sub(1);
            ++done;
        });
    ASSERT_TRUE(pumpUntil([&] { return done == 200; }));
    EXPECT_EQ(overlaps, 0);
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(order[i], i);
}

TEST(SerialQueue, SyncWaitsForTheBlockAndCurrentNamesTheQueue) {
    auto queue = DispatchQueue::makeSerial("test.sync");
    std::string seen;
    queue->sync([&] { seen = DispatchQueue::current()->label(); });
    EXPECT_EQ(seen, "test.sync");
    EXPECT_EQ(DispatchQueue::current(), nullptr);
}

TEST(WorkItem, CancelledBeforeStartNeverRuns) {
    auto queue = DispatchQueue::makeSerial("test.cancel");
    DispatchSemaphore gate(0);
    std::atomic<bool> ran{false}, after{false};
    queue->async([&] { gate.wait(); });
    auto item = std::make_shared<DispatchWorkItem>([&] { ran = true; });
    queue->async(item);
    queue->async([&] { after = true; });
    item->cancel();
    gate.signal();
    ASSERT_TRUE(pumpUntil([&] { return after.load(); }));
    EXPECT_FALSE(ran);
    EXPECT_TRUE(item->isCancelled());
}

TEST(AsyncAfter, DeliversNoEarlierThanTheDelayOnTheMainQueue) {
    auto start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point firedAt;
    bool onMain = false;
    DispatchQueue::main()->asyncAfter(0.05s, [&] {
        firedAt = std::chrono::steady_clock::now();
        onMain = DispatchQueue::current() == DispatchQueue::main();
    });
    ASSERT_TRUE(pumpUntil([&] { return firedAt != std::chrono::steady_clock::time_point(); }));
    EXPECT_GE(firedAt - start, 50ms);
    EXPECT_TRUE(onMain);
}

TEST(AsyncAfter, LaterDelayFiresAfterShorterOne) {
    std::vector<int> order;
    DispatchQueue::main()->asyncAfter(0.06s, [&] { order.push_back(2); });
    DispatchQueue::main()->asyncAfter(0.01s, [&] { order.push_back(1); });
    ASSERT_TRUE(pumpUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(QueueSpecific, FoundOnlyFromWorkOfTheQueueThatCarriesIt) {
    static DispatchSpecificKey key;
    static DispatchSpecificKey otherKey;
    auto marked = DispatchQueue::makeSerial("test.marked");
    auto unmarked = DispatchQueue::makeSerial("test.unmarked");
    marked->setSpecific(key, std::make_shared<int>(42));
    int onMarked = 0, otherOnMarked = -1, onUnmarked = -1;
    marked->sync([&] {
        auto value = std::static_pointer_cast<int>(DispatchQueue::getSpecific(key));
        onMarked = value ? *value : 0;
        otherOnMarked = DispatchQueue::getSpecific(otherKey) ? 1 : 0;
    });
    unmarked->sync([&] { onUnmarked = DispatchQueue::getSpecific(key) ? 1 : 0; });
    EXPECT_EQ(onMarked, 42);
    EXPECT_EQ(otherOnMarked, 0);
    EXPECT_EQ(onUnmarked, 0);
    EXPECT_EQ(DispatchQueue::getSpecific(key), nullptr);
}

TEST(ConcurrentQueue, RunsWorkInParallel) {
    auto queue = DispatchQueue::makeConcurrent("test.parallel");
    std::atomic<int> arrived{0};
    std::atomic<int> done{0};
    // Both blocks wait for each other: they can only finish if they run at the same time.
    for (int i = 0; i < 2; ++i)
        queue->async([&] {
            ++arrived;
            auto deadline = std::chrono::steady_clock::now() + 5s;
            while (arrived < 2 && std::chrono::steady_clock::now() < deadline)
                std::this_thread::yield();
            if (arrived == 2)
                ++done;
        });
    ASSERT_TRUE(pumpUntil([&] { return done == 2; }));
}

TEST(ConcurrentQueue, BarrierRunsAloneBetweenEarlierAndLaterWork) {
    auto queue = DispatchQueue::makeConcurrent("test.barrier");
    std::atomic<int> running{0}, before{0}, after{0}, done{0};
    std::atomic<bool> barrierSawOthers{false};
    int beforeAtBarrier = -1, afterAtBarrier = -1;
    auto work = [&](std::atomic<int>& counter) {
        return [&] {
            ++running;
            std::this_thread::sleep_for(2ms);
            ++counter;
            --running;
            ++done;
        };
    };
    for (int i = 0; i < 6; ++i)
        queue->async(work(before));
    queue->asyncBarrier([&] {
        barrierSawOthers = running.load() != 0;
        beforeAtBarrier = before;
        afterAtBarrier = after;
        ++done;
    });
    for (int i = 0; i < 6; ++i)
        queue->async(work(after));
    ASSERT_TRUE(pumpUntil([&] { return done == 13; }));
    EXPECT_FALSE(barrierSawOthers);
    EXPECT_EQ(beforeAtBarrier, 6);
    EXPECT_EQ(afterAtBarrier, 0);
}

TEST(DispatchGroup, NotifiesOnceWhenAllWorkHasLeft) {
    auto group = DispatchGroup::make();
    std::atomic<int> finished{0};
    int finishedAtNotify = -1, notifications = 0;
    for (int i = 0; i < 5; ++i)
        group->async(DispatchQueue::global(), [&] {
            std::this_thread::sleep_for(1ms);
            ++finished;
        });
    group->notify(DispatchQueue::main(), [&] {
        finishedAtNotify = finished;
        ++notifications;
    });
    ASSERT_TRUE(pumpUntil([&] { return notifications == 1; }));
    EXPECT_EQ(finishedAtNotify, 5);
    EXPECT_TRUE(group->wait(0s));
}

TEST(DispatchGroup, WaitTimesOutWhileWorkIsPending) {
    auto group = DispatchGroup::make();
    group->enter();
    EXPECT_FALSE(group->wait(0.02s));
    group->leave();
    EXPECT_TRUE(group->wait(0.02s));
}

TEST(DispatchSemaphore, CountsSignalsAndTimesOut) {
    DispatchSemaphore semaphore(1);
    EXPECT_TRUE(semaphore.wait(0s));
    EXPECT_FALSE(semaphore.wait(0.02s));
    std::thread signaller([&] { semaphore.signal(); });
    EXPECT_TRUE(semaphore.wait(5s));
    signaller.join();
}

TEST(RepeatingTimer, FiresOnTheMainQueueUntilInvalidated) {
    int fired = 0;
    bool onMain = true;
    std::shared_ptr<RepeatingTimer> timer;
    timer = RepeatingTimer::scheduled(0.01s, [&] {
        onMain = onMain && DispatchQueue::current() == DispatchQueue::main();
        if (++fired == 3)
            timer->invalidate();
    });
    ASSERT_TRUE(pumpUntil([&] { return fired == 3; }));
    DispatchQueue::runFor(0.05s);
    EXPECT_EQ(fired, 3);
    EXPECT_TRUE(onMain);
    EXPECT_FALSE(timer->isValid());
}

TEST(MainQueue, RunUntilGivesUpAtTheTimeout) {
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(DispatchQueue::runUntil([] { return false; }, 0.03s));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(MainQueue, SyncFromTheMainQueueRunsInPlace) {
    bool ran = false;
    DispatchQueue::main()->async([&] { DispatchQueue::main()->sync([&] { ran = true; }); });
    ASSERT_TRUE(pumpUntil([&] { return ran; }));
}

} // namespace
