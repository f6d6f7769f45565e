#include "Core/platform/OperationQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace core;
using namespace std::chrono_literals;

namespace {

TEST(OperationQueue, NeverRunsMoreThanTheMaximumAtOnce) {
    auto queue = OperationQueue::make("test.ops", 2);
    std::atomic<int> running{0}, peak{0}, done{0};
    for (int i = 0; i < 12; ++i)
        queue->addOperation([&] {
            int now = ++running;
            int seen = peak;
            while (now > seen && !peak.compare_exchange_weak(seen, now)) {
            }
            std::this_thread::sleep_for(2ms);
            --running;
            ++done;
        });
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(done, 12);
    EXPECT_EQ(peak, 2);
    EXPECT_EQ(queue->operationCount(), 0u);
}

TEST(OperationQueue, WithOneAtATimeRunsInOrder) {
    auto queue = OperationQueue::make("test.ordered", 1);
    std::vector<int> order;
    for (int i = 0; i < 20; ++i)
        queue->addOperation([&order, i] { order.push_back(i); });
    queue->waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), 20u);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(order[i], i);
}

TEST(OperationQueue, CancelledOperationsFinishWithoutRunning) {
    auto queue = OperationQueue::make("test.cancel", 1);
    DispatchSemaphore gate(0);
    std::atomic<int> ran{0};
    queue->addOperation([&] { gate.wait(); });
    std::vector<std::shared_ptr<Operation>> waiting;
    for (int i = 0; i < 3; ++i) {
        waiting.push_back(std::make_shared<BlockOperation>([&] { ++ran; }));
        queue->addOperation(waiting.back());
    }
    queue->cancelAllOperations();
    gate.signal();
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 0);
    for (const auto& operation : waiting) {
        EXPECT_TRUE(operation->isCancelled());
        EXPECT_TRUE(operation->isFinished());
    }
}

// An asynchronous operation holds its slot until it says it is finished.
class DeferredOperation final : public Operation {
public:
    bool isAsynchronous() const override { return true; }
    void complete() { finish(); }
    std::atomic<bool> started{false};

protected:
    void main() override { started = true; }
};

TEST(OperationQueue, AsynchronousOperationKeepsItsSlotUntilFinished) {
    auto queue = OperationQueue::make("test.async", 1);
    auto deferred = std::make_shared<DeferredOperation>();
    std::atomic<bool> nextRan{false};
    queue->addOperation(deferred);
    queue->addOperation([&] { nextRan = true; });
    while (!deferred->started)
        std::this_thread::yield();
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(deferred->isExecuting());
    EXPECT_FALSE(nextRan);
    deferred->complete();
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(nextRan);
    EXPECT_TRUE(deferred->isFinished());
}

} // namespace
