#include "Core/platform/Dispatch.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>

#include <deque>
#include <thread>

namespace asio = boost::asio;

namespace core {
namespace {

thread_local DispatchQueue* runningQueue = nullptr;

// Scans block on semaphores while a helper or a query answers, so the pool has more threads than
// cores: a few blocked workers must not starve the rest.
std::size_t poolSize() {
    return std::max(8u, 2 * std::thread::hardware_concurrency());
}

// The pool, the main context and the timer thread live for the whole process and are never
// destroyed: work still running at exit must not meet a destroyed executor.
asio::thread_pool& pool() {
    static auto* instance = new asio::thread_pool(poolSize());
    return *instance;
}

struct MainContext {
    asio::io_context context;
    asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
};

MainContext& mainContext() {
    static auto* instance = new MainContext();
    return *instance;
}

struct TimerThread {
    asio::io_context context;
    asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
    std::thread thread{[this] { context.run(); }};
    TimerThread() { thread.detach(); }
};

asio::io_context& timerContext() {
    static auto* instance = new TimerThread();
    return instance->context;
}

void afterDelay(Seconds delay, std::function<void()> fire) {
    auto timer = std::make_shared<asio::steady_timer>(timerContext());
    timer->expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(delay));
    timer->async_wait([timer, fire = std::move(fire)](const boost::system::error_code&) { fire(); });
}

class MainQueue final : public DispatchQueue {
public:
    MainQueue() : DispatchQueue("com.apple.main-thread") {}

protected:
    void submit(DispatchBlock block) override { asio::post(mainContext().context, std::move(block)); }
};

class SerialQueue final : public DispatchQueue {
public:
    explicit SerialQueue(std::string label)
        : DispatchQueue(std::move(label)), strand_(pool().get_executor()) {}

protected:
    void submit(DispatchBlock block) override { asio::post(strand_, std::move(block)); }

private:
    asio::strand<asio::thread_pool::executor_type> strand_;
};

// Global queues hand work straight to the pool; there is nothing to order.
class GlobalQueue final : public DispatchQueue {
public:
    GlobalQueue() : DispatchQueue("com.apple.root.default-qos") {}

protected:
    void submit(DispatchBlock block) override { asio::post(pool(), std::move(block)); }
};

// A private concurrent queue keeps its own backlog so that a barrier can wait for the work before
// it to end and hold back the work after it.
class ConcurrentQueue final : public DispatchQueue {
public:
    explicit ConcurrentQueue(std::string label) : DispatchQueue(std::move(label)) {}
    void asyncBarrier(DispatchBlock block) override { enqueue(bind(std::move(block)), true); }

protected:
    void submit(DispatchBlock block) override { enqueue(std::move(block), false); }

private:
    struct Entry {
        DispatchBlock block;
        bool barrier;
    };

    void enqueue(DispatchBlock block, bool barrier) {
        {
            std::lock_guard lock(mutex_);
            backlog_.push_back({std::move(block), barrier});
        }
        pump();
    }

    void pump() {
        std::vector<Entry> ready;
        {
            std::lock_guard lock(mutex_);
            while (!backlog_.empty() && !barrierRunning_) {
                if (backlog_.front().barrier && running_ > 0)
                    break;
                barrierRunning_ = backlog_.front().barrier;
                ++running_;
                ready.push_back(std::move(backlog_.front()));
                backlog_.pop_front();
            }
        }
        auto self = std::static_pointer_cast<ConcurrentQueue>(shared_from_this());
        for (auto& entry : ready)
            asio::post(pool(), [self, block = std::move(entry.block)] {
                block();
                self->finishOne();
            });
    }

    void finishOne() {
        {
            std::lock_guard lock(mutex_);
            --running_;
            barrierRunning_ = false;
        }
        pump();
    }

    std::mutex mutex_;
    std::deque<Entry> backlog_;
    int running_ = 0;
    bool barrierRunning_ = false;
};

bool onMainQueue() {
    return runningQueue == DispatchQueue::main().get();
}

} // namespace

void DispatchWorkItem::perform() {
    if (!cancelled_)
        block_();
}

DispatchQueuePtr DispatchQueue::main() {
    static DispatchQueuePtr queue = std::make_shared<MainQueue>();
    return queue;
}

DispatchQueuePtr DispatchQueue::global(QualityOfService) {
    static DispatchQueuePtr queue = std::make_shared<GlobalQueue>();
    return queue;
}

DispatchQueuePtr DispatchQueue::makeSerial(std::string label, QualityOfService) {
    return std::make_shared<SerialQueue>(std::move(label));
}

DispatchQueuePtr DispatchQueue::makeConcurrent(std::string label, QualityOfService) {
    return std::make_shared<ConcurrentQueue>(std::move(label));
}

DispatchQueuePtr DispatchQueue::current() {
    return runningQueue ? runningQueue->shared_from_this() : nullptr;
}

DispatchBlock DispatchQueue::bind(DispatchBlock block) {
    // The queue stays alive while work for it is pending, as a dispatch queue is retained by its
    // blocks.
    return [self = shared_from_this(), block = std::move(block)] {
        DispatchQueue* outer = runningQueue;
        runningQueue = self.get();
        block();
        runningQueue = outer;
    };
}

void DispatchQueue::async(DispatchBlock block) {
    submit(bind(std::move(block)));
}

void DispatchQueue::async(const std::shared_ptr<DispatchWorkItem>& item) {
    async([item] { item->perform(); });
}

void DispatchQueue::asyncAfter(Seconds delay, DispatchBlock block) {
    afterDelay(delay, [self = shared_from_this(), block = std::move(block)]() mutable {
        self->async(std::move(block));
    });
}

void DispatchQueue::sync(const DispatchBlock& block) {
    // The main queue runs only when the host pumps it, so a host calling in from the main queue
    // runs the block in place instead of waiting on itself.
    if (this == main().get() && onMainQueue()) {
        block();
        return;
    }
    DispatchSemaphore done(0);
    async([&] {
        block();
        done.signal();
    });
    done.wait();
}

void DispatchQueue::setSpecific(const DispatchSpecificKey& key, std::shared_ptr<void> value) {
    std::lock_guard lock(specificMutex_);
    if (value)
        specifics_[&key] = std::move(value);
    else
        specifics_.erase(&key);
}

std::shared_ptr<void> DispatchQueue::specific(const DispatchSpecificKey& key) const {
    std::lock_guard lock(specificMutex_);
    auto found = specifics_.find(&key);
    return found == specifics_.end() ? nullptr : found->second;
}

std::shared_ptr<void> DispatchQueue::getSpecific(const DispatchSpecificKey& key) {
    return runningQueue ? runningQueue->specific(key) : nullptr;
}

bool DispatchQueue::runUntil(const std::function<bool()>& predicate, Seconds timeout) {
    auto deadline = std::chrono::steady_clock::now() +
                    std::chrono::duration_cast<std::chrono::steady_clock::duration>(timeout);
    auto& context = mainContext().context;
    DispatchQueue* outer = runningQueue;
    runningQueue = main().get();
    while (!predicate()) {
        auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            break;
        auto slice =
            std::min<std::chrono::steady_clock::duration>(deadline - now, std::chrono::milliseconds(10));
        context.run_one_for(slice);
    }
    runningQueue = outer;
    return predicate();
}

void DispatchQueue::runFor(Seconds duration) {
    runUntil([] { return false; }, duration);
}

void DispatchQueue::drainMain() {
    DispatchQueue* outer = runningQueue;
    runningQueue = main().get();
    mainContext().context.poll();
    runningQueue = outer;
}

void DispatchGroup::enter() {
    std::lock_guard lock(mutex_);
    ++pending_;
}

void DispatchGroup::leave() {
    std::vector<std::pair<DispatchQueuePtr, DispatchBlock>> ready;
    {
        std::lock_guard lock(mutex_);
        if (--pending_ > 0)
            return;
        ready.swap(notifications_);
        // Under the lock, for a waiter may let go of the group as soon as it wakes.
        emptied_.notify_all();
    }
    for (auto& [queue, block] : ready)
        queue->async(std::move(block));
}

void DispatchGroup::async(const DispatchQueuePtr& queue, DispatchBlock block) {
    enter();
    queue->async([self = shared_from_this(), block = std::move(block)] {
        block();
        self->leave();
    });
}

void DispatchGroup::notify(const DispatchQueuePtr& queue, DispatchBlock block) {
    {
        std::lock_guard lock(mutex_);
        if (pending_ > 0) {
            notifications_.emplace_back(queue, std::move(block));
            return;
        }
    }
    queue->async(std::move(block));
}

bool DispatchGroup::wait(Seconds timeout) {
    std::unique_lock lock(mutex_);
    return emptied_.wait_for(lock, timeout, [this] { return pending_ <= 0; });
}

// Notified under the lock: a waiter that returns may destroy the semaphore at once (sync() keeps
// it on its stack), so nothing may touch it once the lock is released.
void DispatchSemaphore::signal() {
    std::lock_guard lock(mutex_);
    ++value_;
    available_.notify_one();
}

void DispatchSemaphore::wait() {
    std::unique_lock lock(mutex_);
    available_.wait(lock, [this] { return value_ > 0; });
    --value_;
}

bool DispatchSemaphore::wait(Seconds timeout) {
    std::unique_lock lock(mutex_);
    if (!available_.wait_for(lock, timeout, [this] { return value_ > 0; }))
        return false;
    --value_;
    return true;
}

std::shared_ptr<RepeatingTimer> RepeatingTimer::scheduled(Seconds interval, DispatchBlock block) {
    std::shared_ptr<RepeatingTimer> timer(new RepeatingTimer(interval, std::move(block)));
    timer->scheduleNext();
    return timer;
}

void RepeatingTimer::scheduleNext() {
    afterDelay(interval_, [self = shared_from_this()] {
        DispatchQueue::main()->async([self] {
            if (!self->valid_)
                return;
            self->block_();
            if (self->valid_)
                self->scheduleNext();
        });
    });
}

} // namespace core
