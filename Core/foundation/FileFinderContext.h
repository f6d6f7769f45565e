// The token of one scan by which running work learns that it was stopped, and through which it
// publishes the file it is looking at. Work scheduled with async() runs on a queue bound to the
// context, so code deep in a scan finds it with current() without being handed it.
//
// Threading: all operations may be called from any thread. Interruption is cooperative: a work
// item not yet started never runs, a running one stops at its next look at the flag.
#pragma once

#include "Core/foundation/URL.h"
#include "Core/foundation/ValueObservable.h"
#include "Core/platform/Dispatch.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace core {

class FileFinderContext : public std::enable_shared_from_this<FileFinderContext> {
public:
    static std::shared_ptr<FileFinderContext> make(std::function<void(URL)> block);

    // The context bound to the queue that runs the caller, or null.
    static std::shared_ptr<FileFinderContext> current();
    // True when the caller runs under a context that was interrupted.
    static bool currentIsInterrupted();

    bool interrupted() const { return interrupted_.load(); }
    // For walks that poll a flag themselves, such as a folder size.
    const std::atomic<bool>& interruptedFlag() const { return interrupted_; }
    void setOnInterrupted(std::function<void()> callback);
    ValueObservable<URL>& urlObservable() { return *urlObservable_; }

    // Sets the flag, cancels every work item scheduled so far, and calls onInterrupted if set.
    void interrupt();
    // Binds this context to the queue and runs the block there as a cancellable work item.
    void async(const DispatchQueuePtr& queue, DispatchBlock block);

private:
    explicit FileFinderContext(std::function<void(URL)> block);

    std::atomic<bool> interrupted_{false};
    std::mutex mutex_;
    std::function<void()> onInterrupted_;
    // Held weakly: the queue owns an item until it has run, and an item's block may hold this
    // context, which must not keep the block alive in turn.
    std::vector<std::weak_ptr<DispatchWorkItem>> workItems_;
    std::shared_ptr<ValueObservable<URL>> urlObservable_;
};

} // namespace core
