// Operations and a queue that runs them with bounded concurrency, for scans that hand out many
// listings or a metadata query whose results must be handled one at a time.
//
// Threading: all operations may be called from any thread. An operation runs on a thread of the
// shared pool, with DispatchQueue::current() answering the operation queue's own dispatch queue.
#pragma once

#include "Core/platform/Dispatch.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

namespace core {

class Operation : public std::enable_shared_from_this<Operation> {
public:
    virtual ~Operation() = default;

    // Runs main() unless cancelled. A synchronous operation is finished when main() returns; an
    // asynchronous one stays executing until it calls finish().
    void start();
    void cancel() { cancelled_ = true; }
    bool isCancelled() const { return cancelled_; }
    bool isExecuting() const { return state_ == State::executing; }
    bool isFinished() const { return state_ == State::finished; }
    virtual bool isAsynchronous() const { return false; }

protected:
    virtual void main() = 0;
    void finish();

private:
    friend class OperationQueue;
    enum class State { ready, executing, finished };
    std::atomic<State> state_{State::ready};
    std::atomic<bool> cancelled_{false};
    std::function<void()> onFinished_;
};

class BlockOperation final : public Operation {
public:
    explicit BlockOperation(DispatchBlock block) : block_(std::move(block)) {}

protected:
    void main() override { block_(); }

private:
    DispatchBlock block_;
};

class OperationQueue : public std::enable_shared_from_this<OperationQueue> {
public:
    static std::shared_ptr<OperationQueue> make(std::string label, int maxConcurrentOperationCount);

    void addOperation(std::shared_ptr<Operation> operation);
    void addOperation(DispatchBlock block);
    // Cancels every operation not yet finished; those not started then finish without running.
    void cancelAllOperations();
    void waitUntilAllOperationsAreFinished();
    std::size_t operationCount() const;
    const DispatchQueuePtr& underlyingQueue() const { return queue_; }

private:
    OperationQueue(std::string label, int maxConcurrent);
    void startReadyOperations();
    void operationFinished(const Operation* operation);

    DispatchQueuePtr queue_;
    int maxConcurrent_;
    mutable std::mutex mutex_;
    std::condition_variable allFinished_;
    std::deque<std::shared_ptr<Operation>> waiting_;
    std::vector<std::shared_ptr<Operation>> running_;
};

} // namespace core
