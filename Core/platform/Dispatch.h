// The queue vocabulary every scanner is written in: a main queue drained by the host, concurrent
// queues over one shared thread pool, serial queues, delayed and cancellable work, groups,
// semaphores, queue-specific values and repeating timers on the main queue.
//
// Threading: every operation may be called from any thread. Work submitted to a serial queue runs
// one item at a time in submission order; work on a concurrent queue runs in parallel except
// across a barrier. The main queue runs only while the host pumps it (runUntil, runFor, drain).
//
// Scanners talk to their delegates in one shape: every find and the completion are posted with
// postToDelegate to one queue (the main queue unless the scanner says otherwise), the completion
// last, so a host that has seen the completion has seen every find before it. A posted call holds
// the scanner and the delegate weakly and is dropped when either is gone by the time it runs.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace core {

using DispatchBlock = std::function<void()>;
using Seconds = std::chrono::duration<double>;

// Quality of service is accepted so that callers can state intent; Linux threads here all run at
// the same priority, so it changes nothing.
enum class QualityOfService { unspecified, background, utility, defaultQoS, userInitiated, userInteractive };

// A unit of work that can be cancelled until it starts. Cancelling a running item only sets the
// flag; the item notices it if it looks.
class DispatchWorkItem {
public:
    explicit DispatchWorkItem(DispatchBlock block) : block_(std::move(block)) {}
    void perform();
    void cancel() { cancelled_ = true; }
    bool isCancelled() const { return cancelled_; }

private:
    DispatchBlock block_;
    std::atomic<bool> cancelled_{false};
};

// Identifies one queue-specific value; two keys never collide, whatever they hold.
class DispatchSpecificKey {
public:
    DispatchSpecificKey() = default;
    DispatchSpecificKey(const DispatchSpecificKey&) = delete;
    DispatchSpecificKey& operator=(const DispatchSpecificKey&) = delete;
};

class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
public:
    virtual ~DispatchQueue() = default;

    static std::shared_ptr<DispatchQueue> main();
    static std::shared_ptr<DispatchQueue> global(QualityOfService qos = QualityOfService::defaultQoS);
    static std::shared_ptr<DispatchQueue> makeSerial(std::string label,
                                                     QualityOfService qos = QualityOfService::unspecified);
    static std::shared_ptr<DispatchQueue>
    makeConcurrent(std::string label, QualityOfService qos = QualityOfService::unspecified);
    // The queue whose work is running on this thread, or null on a thread no queue owns.
    static std::shared_ptr<DispatchQueue> current();

    const std::string& label() const { return label_; }

    void async(DispatchBlock block);
    void async(const std::shared_ptr<DispatchWorkItem>& item);
    void asyncAfter(Seconds delay, DispatchBlock block);
    // Runs the block on this queue and waits for it. Like any serial executor, calling it from the
    // queue's own work deadlocks.
    void sync(const DispatchBlock& block);
    // On a concurrent queue made with makeConcurrent the block runs alone: after everything
    // submitted before it and before everything submitted after it. Elsewhere it is plain async.
    virtual void asyncBarrier(DispatchBlock block) { async(std::move(block)); }

    void setSpecific(const DispatchSpecificKey& key, std::shared_ptr<void> value);
    std::shared_ptr<void> specific(const DispatchSpecificKey& key) const;
    // The value for the key on the queue that runs the caller, or null.
    static std::shared_ptr<void> getSpecific(const DispatchSpecificKey& key);

    // Host side of the main queue. They return false when called on another queue.
    // runUntil pumps until the predicate holds or the timeout passes and answers the predicate.
    static bool runUntil(const std::function<bool()>& predicate, Seconds timeout);
    static void runFor(Seconds duration);
    // Runs every main-queue task that is ready now, without waiting for delayed ones.
    static void drainMain();

protected:
    explicit DispatchQueue(std::string label) : label_(std::move(label)) {}
    virtual void submit(DispatchBlock block) = 0;
    // Wraps a block so that, while it runs, current() answers this queue.
    DispatchBlock bind(DispatchBlock block);

private:
    std::string label_;
    mutable std::mutex specificMutex_;
    std::map<const DispatchSpecificKey*, std::shared_ptr<void>> specifics_;
};

using DispatchQueuePtr = std::shared_ptr<DispatchQueue>;

// Schedules call(delegate) on `queue`; it runs only if `owner` and `delegate` are both still alive
// then, so a scanner that was let go of reports nothing more.
template <class Owner, class Delegate, class Call>
void postToDelegate(const DispatchQueuePtr& queue, std::weak_ptr<Owner> owner,
                    std::weak_ptr<Delegate> delegate, Call call) {
    queue->async([owner = std::move(owner), delegate = std::move(delegate), call = std::move(call)] {
        auto alive = owner.lock();
        auto target = delegate.lock();
        if (alive && target)
            call(*target);
    });
}

// The same on the main queue, where delegate calls go unless a scanner says otherwise.
template <class Owner, class Delegate, class Call>
void postToDelegate(std::weak_ptr<Owner> owner, std::weak_ptr<Delegate> delegate, Call call) {
    postToDelegate(DispatchQueue::main(), std::move(owner), std::move(delegate), std::move(call));
}

// Counts work in flight and runs callbacks when the count falls to zero.
class DispatchGroup : public std::enable_shared_from_this<DispatchGroup> {
public:
    static std::shared_ptr<DispatchGroup> make() {
        return std::shared_ptr<DispatchGroup>(new DispatchGroup());
    }
    void enter();
    void leave();
    void async(const DispatchQueuePtr& queue, DispatchBlock block);
    void notify(const DispatchQueuePtr& queue, DispatchBlock block);
    // True when the group emptied within the timeout.
    bool wait(Seconds timeout);

private:
    DispatchGroup() = default;
    std::mutex mutex_;
    std::condition_variable emptied_;
    int pending_ = 0;
    std::vector<std::pair<DispatchQueuePtr, DispatchBlock>> notifications_;
};

class DispatchSemaphore {
public:
    explicit DispatchSemaphore(long value) : value_(value) {}
    void signal();
    void wait();
    // True when the semaphore was taken within the timeout.
    bool wait(Seconds timeout);

private:
    std::mutex mutex_;
    std::condition_variable available_;
    long value_;
};

// A timer that fires on the main queue every interval until invalidated. Like a run-loop timer it
// keeps itself alive while scheduled.
class RepeatingTimer : public std::enable_shared_from_this<RepeatingTimer> {
public:
    static std::shared_ptr<RepeatingTimer> scheduled(Seconds interval, DispatchBlock block);
    void invalidate() { valid_ = false; }
    bool isValid() const { return valid_; }

private:
    RepeatingTimer(Seconds interval, DispatchBlock block) : interval_(interval), block_(std::move(block)) {}
    void scheduleNext();
    Seconds interval_;
    DispatchBlock block_;
    std::atomic<bool> valid_{true};
};

} // namespace core
