// Deletes a list of paths in this process, with the rights of the user, on a private serial
// queue: to the trash, permanently, or by shredding. Paths are worked from the last to the first;
// the deleter can be paused between two items (or inside a folder's walk, which starts over on
// resume) and stopped from running or paused. Folders are walked relative to folder descriptors
// and never through a link.
//
// Threading: start(), pause() and stop() may be called from any thread; all work and every
// delegate call happen on the deleter's queue. fileDeleterCompleted() comes exactly once.
#pragma once

#include "Core/platform/DeletionWalk.h"
#include "Core/platform/Dispatch.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace core {

class TWFileDeleterDelegate {
public:
    virtual ~TWFileDeleterDelegate() = default;
    virtual void fileDeleterCurrent(const std::string& path) = 0;
    // error: 0 when deleted, else the errno.
    virtual void fileDeleterDeleted(const std::string& path, std::int32_t error) = 0;
    virtual void scriptDeleted() = 0;
    virtual void fileDeleterCompleted() = 0;
};

class TWFileDeleter : public std::enable_shared_from_this<TWFileDeleter> {
public:
    static std::shared_ptr<TWFileDeleter> initWithPaths(std::vector<std::string> paths,
                                                        std::vector<std::string> scripts);

    void start();
    void pause();
    void stop();

    bool isShredder = false;
    // Wins over isShredder.
    bool isMoveToTrash = false;
    std::weak_ptr<TWFileDeleterDelegate> delegate;

    // Called inside every folder walk before a folder is entered; lets a test change the tree at
    // the moment a real race would.
    void setBeforeEnteringForTesting(std::function<void(const std::string&)> hook) {
        beforeEntering_ = std::move(hook);
    }

private:
    enum State : int { idleOrPaused = 0, running = 1, stopped = 2, completedState = 3 };
    // What deleting one item came to.
    enum class Outcome { deleted, failed, interrupted };
    struct Result {
        Outcome outcome;
        int error = 0;
    };

    TWFileDeleter(std::vector<std::string> paths, std::vector<std::string> scripts);
    void deleteFiles();
    void runScripts();
    void completed();
    Result deleteAt(const std::string& path);
    Result deleteDirectoryAt(const std::string& path);
    Result deleteFileAt(const std::string& path);
    std::optional<Result> walkStep(DeletionWalk& walk, const DeletionWalk::Entry& entry);
    int removeInWalk(DeletionWalk& walk, const std::string& path);
    void updateCurrentPath(const std::string& path);
    std::shared_ptr<TWFileDeleterDelegate> target() const { return delegate.lock(); }

    std::vector<std::string> paths_;
    std::vector<std::string> scripts_;
    DispatchQueuePtr dispatchQueue_;
    std::atomic<int> state_{idleOrPaused};
    std::chrono::steady_clock::time_point time_{};
    std::function<void(const std::string&)> beforeEntering_;
};

} // namespace core
