#include "Core/deletion/TWFileDeleter.h"

#include "Core/deletion/ShredderJobs.h"
#include "Core/platform/DeletionWalk.h"
#include "Core/platform/FileFlags.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/Process.h"
#include "Core/platform/Shredder.h"
#include "Core/platform/Text.h"
#include "Core/platform/Trash.h"

#include <cerrno>

namespace core {
namespace {

constexpr auto currentPathInterval = std::chrono::milliseconds(30);

// Where a failure left no number, EIO stands for it.
int orIO(int error) {
    return error ? error : EIO;
}

bool isApplicationBundle(const std::string& path) {
    return extensionOf(splitLastComponent(path).name) == "app";
}

bool isLocked(const std::string& path) {
    auto flags = protectionFlags(path);
    return flags && (flags->immutable || flags->appendOnly);
}

} // namespace

std::shared_ptr<TWFileDeleter> TWFileDeleter::initWithPaths(std::vector<std::string> paths,
                                                            std::vector<std::string> scripts) {
    return std::shared_ptr<TWFileDeleter>(new TWFileDeleter(std::move(paths), std::move(scripts)));
}

TWFileDeleter::TWFileDeleter(std::vector<std::string> paths, std::vector<std::string> scripts)
    : paths_(std::move(paths)), scripts_(std::move(scripts)),
      dispatchQueue_(DispatchQueue::makeSerial("TWFileDeleter")) {}

void TWFileDeleter::start() {
    int idle = idleOrPaused;
    if (!state_.compare_exchange_strong(idle, running))
        return;
    dispatchQueue_->async([self = shared_from_this()] { self->deleteFiles(); });
}

void TWFileDeleter::pause() {
    int active = running;
    state_.compare_exchange_strong(active, idleOrPaused);
}

void TWFileDeleter::stop() {
    int current = state_.load();
    while (current < stopped && !state_.compare_exchange_weak(current, stopped)) {
    }
    if (current < stopped)
        dispatchQueue_->async([self = shared_from_this()] { self->completed(); });
}

void TWFileDeleter::completed() {
    if (state_.exchange(completedState) == completedState)
        return;
    if (auto delegate = target())
        delegate->fileDeleterCompleted();
}

// Paths are done from the last to the first, and a path leaves the list only once it is done: a
// pause inside a folder leaves it for the next start, which walks what remains of it.
void TWFileDeleter::deleteFiles() {
    while (!paths_.empty()) {
        if (state_ != running)
            return;
        const std::string path = paths_.back();
        auto result = deleteAt(path);
        if (result.outcome == Outcome::interrupted)
            return;
        if (auto delegate = target())
            delegate->fileDeleterDeleted(path, result.outcome == Outcome::deleted ? 0 : result.error);
        paths_.pop_back();
    }
    runScripts();
}

void TWFileDeleter::runScripts() {
    for (const auto& script : scripts_) {
        if (state_ != running)
            return;
        launchCommand("/bin/sh", {"-c", script});
        if (auto delegate = target())
            delegate->scriptDeleted();
    }
    completed();
}

void TWFileDeleter::updateCurrentPath(const std::string& path) {
    auto now = std::chrono::steady_clock::now();
    if (now - time_ <= currentPathInterval)
        return;
    time_ = now;
    if (auto delegate = target())
        delegate->fileDeleterCurrent(path);
}

TWFileDeleter::Result TWFileDeleter::deleteAt(const std::string& path) {
    updateCurrentPath(path);
    if (isMoveToTrash) {
        int error = moveToTrash(path);
        return error ? Result{Outcome::failed, error} : Result{Outcome::deleted};
    }
    int error = 0;
    auto status = fileStatus(path, LinkHandling::keep, &error);
    if (!status)
        return error == ENOENT ? Result{Outcome::deleted} : Result{Outcome::failed, orIO(error)};
    return status->isFolder() ? deleteDirectoryAt(path) : deleteFileAt(path);
}

TWFileDeleter::Result TWFileDeleter::deleteFileAt(const std::string& path) {
    int error = 0;
    if (isShredder) {
        error = shredPath(path);
    } else if (auto flags = protectionFlags(path); flags && flags->onlyImmutable()) {
        if (!UnlockFolder(path))
            return {Outcome::failed, EPERM};
        error = DeleteFolder(path) ? 0 : EIO;
    } else {
        error = removeName(path);
    }
    return error ? Result{Outcome::failed, orIO(error)} : Result{Outcome::deleted};
}

TWFileDeleter::Result TWFileDeleter::deleteDirectoryAt(const std::string& path) {
    DeletionWalk walk(path);
    walk.setBeforeEnteringForTesting(beforeEntering_);
    if (walk.error())
        return {Outcome::failed, walk.error()};
    while (auto entry = walk.next()) {
        if (state_ != running)
            return {Outcome::interrupted};
        if (auto ended = walkStep(walk, *entry))
            return *ended;
    }
    return {Outcome::deleted};
}

// One entry of a folder's walk; a result when the walk ends there. One entry that fails ends the
// walk, and the whole folder is then one failed item; what was removed stays removed.
std::optional<TWFileDeleter::Result> TWFileDeleter::walkStep(DeletionWalk& walk,
                                                             const DeletionWalk::Entry& entry) {
    const std::string& path = entry.path;
    switch (entry.event) {
    case DeletionWalk::Event::folder:
        // Application bundles are removed whole by the system's remover, never shredded.
        if (isShredder && isApplicationBundle(path)) {
            updateCurrentPath(path);
            if (!DeleteFolder(path))
                return Result{Outcome::failed, EIO};
            walk.skip();
        } else if (isLocked(path)) {
            UnlockFolder(path);
        }
        return std::nullopt;
    case DeletionWalk::Event::file: {
        updateCurrentPath(path);
        int error = isShredder ? shredAt(walk.currentFolderDescriptor(), walk.currentName())
                               : removeInWalk(walk, path);
        return error ? std::optional<Result>(Result{Outcome::failed, orIO(error)}) : std::nullopt;
    }
    case DeletionWalk::Event::unreadable:
        return Result{Outcome::failed, orIO(entry.errorNumber)};
    case DeletionWalk::Event::folderDone: {
        updateCurrentPath(path);
        int error = removeInWalk(walk, path);
        if (error == ENOTEMPTY)
            return DeleteFolder(path) ? std::nullopt
                                      : std::optional<Result>(Result{Outcome::failed, ENOTEMPTY});
        return error ? std::optional<Result>(Result{Outcome::failed, orIO(error)}) : std::nullopt;
    }
    }
    return std::nullopt;
}

// Locked entries are rare, and asking every folder for its flags with a process of its own would
// cost more than the removal: a folder is unlocked when it carries a flag itself (above), and the
// folder of an entry whose removal is refused is unlocked, with everything in it, before a second
// try.
int TWFileDeleter::removeInWalk(DeletionWalk& walk, const std::string& path) {
    int error = walk.removeCurrent();
    if (error != EPERM)
        return error;
    if (!UnlockFolder(splitLastComponent(path).folder))
        return error;
    return walk.removeCurrent();
}

} // namespace core
