#include "Core/deletion/FileDeleterWrapper.h"

#include "Core/platform/Dispatch.h"

#include <cerrno>

namespace core {

std::shared_ptr<FileDeleterWrapper> FileDeleterWrapper::make(const std::shared_ptr<Deleter>& deleter,
                                                             bool isMoveToTrash) {
    auto wrapper = std::shared_ptr<FileDeleterWrapper>(new FileDeleterWrapper());
    wrapper->deleter_ = deleter;
    // The deletion's scripts never run here: they need the helper's rights.
    wrapper->fileDeleter_ = TWFileDeleter::initWithPaths(deleter->files(), {});
    wrapper->fileDeleter_->isMoveToTrash = isMoveToTrash;
    wrapper->fileDeleter_->isShredder = deleter->isShredder;
    wrapper->fileDeleter_->delegate = wrapper;
    return wrapper;
}

bool FileDeleterWrapper::isRetriedByHelper(std::int32_t error) {
    return error == EPERM || error == EBADF || error == EACCES || error == ENOTEMPTY;
}

void FileDeleterWrapper::fileDeleterCurrent(const std::string& path) {
    DispatchQueue::main()->async([deleter = deleter_, path] {
        if (auto target = deleter.lock())
            target->updateCurrent(path);
    });
}

void FileDeleterWrapper::fileDeleterDeleted(const std::string& path, std::int32_t error) {
    auto deleter = deleter_.lock();
    if (deleter)
        deleter->flowLog("fileDeleterDeleted path=" + path + " error=" + std::to_string(error));
    if (isRetriedByHelper(error)) {
        if (deleter)
            deleter->flowLog("enqueueHelper path=" + path + " reason=" + std::to_string(error));
        erroredPaths_.push_back(path);
        return;
    }
    DispatchQueue::main()->async([weak = deleter_, path, error] {
        if (auto target = weak.lock())
            target->recordDeleted(path, error == 0, error);
    });
}

void FileDeleterWrapper::fileDeleterCompleted() {
    DispatchQueue::main()->async([weak = deleter_, paths = erroredPaths_] {
        if (auto target = weak.lock())
            target->fileDeleterCompleted(paths);
    });
}

} // namespace core
