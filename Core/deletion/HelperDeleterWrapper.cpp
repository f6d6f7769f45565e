#include "Core/deletion/HelperDeleterWrapper.h"

#include "Core/platform/Dispatch.h"

namespace core {

std::shared_ptr<HelperDeleterWrapper> HelperDeleterWrapper::make(const std::shared_ptr<Deleter>& deleter,
                                                                 std::vector<std::string> files,
                                                                 std::vector<std::string> scripts) {
    auto wrapper = std::shared_ptr<HelperDeleterWrapper>(new HelperDeleterWrapper());
    wrapper->deleter_ = deleter;
    wrapper->files_ = std::move(files);
    wrapper->scripts_ = std::move(scripts);
    deleter->helperActionError = false;
    return wrapper;
}

void HelperDeleterWrapper::log(const std::string& message, int level) const {
    if (auto deleter = deleter_.lock())
        deleter->flowLog(message, level);
}

void HelperDeleterWrapper::start() {
    if (started_) {
        log("helper resumeDeleting files=" + std::to_string(files_.size()));
        return;
    }
    started_ = true;
    log("helper start files=" + std::to_string(files_.size()) +
        " scripts=" + std::to_string(scripts_.size()));
    if (!connect()) {
        log("helper connect failed", 3);
        for (const auto& path : files_)
            helperDeletedAt(path, false);
        helperDeletionCompleted();
    }
}

void HelperDeleterWrapper::pause() {
    log("helper pauseDeleting");
}

void HelperDeleterWrapper::stop() {
    log("helper stopDeleting");
}

void HelperDeleterWrapper::helperDeletedAt(const std::string& path, bool success) {
    log("helperDeleted path=" + path + " success=" + (success ? "true" : "false"));
    DispatchQueue::main()->async([deleter = deleter_, path, success] {
        if (auto target = deleter.lock())
            target->recordDeleted(path, success, 0);
    });
}

void HelperDeleterWrapper::helperDeletionCompleted() {
    log("helperDeletionCompleted callback");
    DispatchQueue::main()->async([weakSelf = weak_from_this()] {
        auto self = weakSelf.lock();
        if (!self || self->completed_)
            return;
        self->completed_ = true;
        if (auto target = self->deleter_.lock())
            target->helperDeleterCompleted();
    });
}

} // namespace core
