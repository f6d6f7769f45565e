#include "Core/foundation/FileFinderContext.h"

namespace core {
namespace {

const DispatchSpecificKey& contextKey() {
    static DispatchSpecificKey key;
    return key;
}

} // namespace

std::shared_ptr<FileFinderContext> FileFinderContext::make(std::function<void(URL)> block) {
    return std::shared_ptr<FileFinderContext>(new FileFinderContext(std::move(block)));
}

FileFinderContext::FileFinderContext(std::function<void(URL)> block)
    : urlObservable_(ValueObservable<URL>::make(std::move(block))) {}

std::shared_ptr<FileFinderContext> FileFinderContext::current() {
    return std::static_pointer_cast<FileFinderContext>(DispatchQueue::getSpecific(contextKey()));
}

bool FileFinderContext::currentIsInterrupted() {
    auto context = current();
    return context && context->interrupted();
}

void FileFinderContext::setOnInterrupted(std::function<void()> callback) {
    std::lock_guard lock(mutex_);
    onInterrupted_ = std::move(callback);
}

void FileFinderContext::interrupt() {
    interrupted_ = true;
    std::function<void()> onInterrupted;
    {
        std::lock_guard lock(mutex_);
        for (auto& weakItem : workItems_)
            if (auto item = weakItem.lock())
                item->cancel();
        workItems_.clear();
        onInterrupted = onInterrupted_;
    }
    if (onInterrupted)
        onInterrupted();
}

void FileFinderContext::async(const DispatchQueuePtr& queue, DispatchBlock block) {
    // The queue holds the context while bound, so work still running keeps it alive after the
    // scan's owner has dropped it.
    queue->setSpecific(contextKey(), shared_from_this());
    auto item = std::make_shared<DispatchWorkItem>(std::move(block));
    {
        std::lock_guard lock(mutex_);
        std::erase_if(workItems_, [](const auto& weakItem) { return weakItem.expired(); });
        workItems_.push_back(item);
    }
    queue->async(item);
}

} // namespace core
