#include "Core/platform/OperationQueue.h"

#include <algorithm>

namespace core {

void Operation::start() {
    if (cancelled_) {
        finish();
        return;
    }
    state_ = State::executing;
    main();
    if (!isAsynchronous())
        finish();
}

void Operation::finish() {
    if (state_.exchange(State::finished) == State::finished)
        return;
    // The queue drops its reference when told; keep this operation and the callback alive until
    // the call returns.
    auto keepAlive = weak_from_this().lock();
    auto onFinished = onFinished_;
    if (onFinished)
        onFinished();
}

std::shared_ptr<OperationQueue> OperationQueue::make(std::string label, int maxConcurrentOperationCount) {
    return std::shared_ptr<OperationQueue>(new OperationQueue(std::move(label), maxConcurrentOperationCount));
}

OperationQueue::OperationQueue(std::string label, int maxConcurrent)
    : queue_(DispatchQueue::makeConcurrent(std::move(label))), maxConcurrent_(std::max(1, maxConcurrent)) {}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
    {
        std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(operation));
    }
    startReadyOperations();
}

void OperationQueue::addOperation(DispatchBlock block) {
    addOperation(std::make_shared<BlockOperation>(std::move(block)));
}

void OperationQueue::cancelAllOperations() {
    std::lock_guard lock(mutex_);
    for (auto& operation : waiting_)
        operation->cancel();
    for (auto& operation : running_)
        operation->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock lock(mutex_);
    allFinished_.wait(lock, [this] { return waiting_.empty() && running_.empty(); });
}

std::size_t OperationQueue::operationCount() const {
    std::lock_guard lock(mutex_);
    return waiting_.size() + running_.size();
}

void OperationQueue::startReadyOperations() {
    std::vector<std::shared_ptr<Operation>> ready;
    {
        std::lock_guard lock(mutex_);
        while (!waiting_.empty() && static_cast<int>(running_.size()) < maxConcurrent_) {
            auto operation = std::move(waiting_.front());
            waiting_.pop_front();
            running_.push_back(operation);
            ready.push_back(std::move(operation));
        }
    }
    std::weak_ptr<OperationQueue> weakSelf = weak_from_this();
    for (auto& operation : ready) {
        operation->onFinished_ = [weakSelf, raw = operation.get()] {
            if (auto self = weakSelf.lock())
                self->operationFinished(raw);
        };
        queue_->async([operation] { operation->start(); });
    }
}

void OperationQueue::operationFinished(const Operation* operation) {
    {
        std::lock_guard lock(mutex_);
        std::erase_if(running_, [operation](const auto& running) { return running.get() == operation; });
        if (waiting_.empty() && running_.empty())
            allFinished_.notify_all();
    }
    startReadyOperations();
}

} // namespace core
