#include "Core/deletion/Deleter.h"

#include "Core/deletion/FileDeleterWrapper.h"
#include "Core/deletion/HelperDeleterWrapper.h"
#include "Core/deletion/PhotoDeleter.h"
#include "Core/foundation/Analytics.h"
#include "Core/platform/Dispatch.h"
#include "Core/platform/PurgeableSpace.h"

namespace core {
namespace {

const char* text(bool value) {
    return value ? "true" : "false";
}

// ["a", "b"]
std::string textualArray(const std::vector<std::string>& paths) {
    std::string joined = "[";
    for (const auto& path : paths)
        joined += (joined.size() > 1 ? ", \"" : "\"") + path + "\"";
    return joined + "]";
}

} // namespace

std::shared_ptr<Deleter> Deleter::make(std::vector<std::string> files, std::vector<Photo> photos,
                                       std::optional<std::string> photoLibraryPath,
                                       std::vector<std::string> scripts, bool isCleanPurgeableSpace) {
    return std::shared_ptr<Deleter>(new Deleter(std::move(files), std::move(photos),
                                                std::move(photoLibraryPath), std::move(scripts),
                                                isCleanPurgeableSpace));
}

Deleter::Deleter(std::vector<std::string> files, std::vector<Photo> photos,
                 std::optional<std::string> photoLibraryPath, std::vector<std::string> scripts,
                 bool isCleanPurgeableSpace)
    : files_(std::move(files)), photos_(std::move(photos)), scripts_(std::move(scripts)),
      isCleanPurgeableSpace_(isCleanPurgeableSpace), photoLibraryPath_(std::move(photoLibraryPath)) {
    totalCount_ =
        static_cast<int>(files_.size() + photos_.size() + scripts_.size()) + (isCleanPurgeableSpace ? 1 : 0);
}

Deleter::~Deleter() = default;

bool Deleter::isDeletingPhotos() const {
    return deletingPhotos_;
}

void Deleter::setStage(std::shared_ptr<DeleterProtocol> stage, bool photos) {
    deletingPhotos_ = photos;
    deleter_ = std::move(stage);
}

void Deleter::flowLog(const std::string& message, int level) const {
    if (diagnosticTag)
        analytics()->log("[DeleteFlow][" + *diagnosticTag + "] " + message, level);
}

void Deleter::start() {
    if (state_ == DeleterState::paused)
        return;
    if (state_ == DeleterState::created) {
        state_ = DeleterState::started;
        flowLog("start files=" + std::to_string(files_.size()) + " photos=" + std::to_string(photos_.size()) +
                " scripts=" + std::to_string(scripts_.size()) + " isMoveToTrash=" + text(isMoveToTrash) +
                " isShredder=" + text(isShredder) + " isCleanPurgeableSpace=" + text(isCleanPurgeableSpace_));
        if (!files_.empty())
            flowLog("filePaths=" + textualArray(files_));
        if (files_.empty() && !isCleanPurgeableSpace_)
            return fileDeleterCompleted({});
        setStage(FileDeleterWrapper::make(shared_from_this(), isMoveToTrash));
    }
    if (deleter_)
        deleter_->start();
}

void Deleter::pause() {
    if (state_ == DeleterState::started && deleter_)
        deleter_->pause();
}

void Deleter::stop() {
    if (state_ == DeleterState::stopped || state_ == DeleterState::completed)
        return;
    if (state_ == DeleterState::created) {
        finish();
    } else {
        state_ = DeleterState::stopped;
        if (deleter_)
            deleter_->stop();
    }
    if (isCleanPurgeableSpace_) {
        PurgeableSpaceHelper::shared().cancelCleaning(false);
        finish();
    }
}

void Deleter::updateCurrent(const std::string& path) {
    flowLog("current path=" + path);
    if (auto target = this->target())
        target->deleterCurrent(path);
}

void Deleter::reportProgress() {
    if (auto target = this->target())
        target->deleterProgress(static_cast<double>(currentCount_) / static_cast<double>(totalCount_));
}

void Deleter::recordDeleted(const std::string& path, bool success, std::int32_t error) {
    flowLog("deleted path=" + path + " success=" + text(success) + " error=" + std::to_string(error));
    if (auto target = this->target()) {
        if (success)
            target->deleterDeleted(path, std::nullopt);
        else
            target->deleterDeleteFailed(path, error);
    }
    ++currentCount_;
    reportProgress();
}

void Deleter::countLaunchedScript() {
    ++currentCount_;
    reportProgress();
}

void Deleter::fileDeleterCompleted(const std::vector<std::string>& paths) {
    flowLog("fileDeleterCompleted helperRetryCount=" + std::to_string(paths.size()) +
            " paths=" + textualArray(paths));
    if (state_ == DeleterState::stopped || state_ == DeleterState::completed)
        return finish();
    if (paths.empty() && scripts_.empty())
        return helperDeleterCompleted();
    setStage(HelperDeleterWrapper::make(shared_from_this(), paths, scripts_));
    if (state_ == DeleterState::started)
        deleter_->start();
}

void Deleter::helperDeleterCompleted() {
    flowLog(std::string("helperDeleterCompleted helperActionError=") + text(helperActionError));
    if (state_ == DeleterState::stopped || state_ == DeleterState::completed)
        return finish();
    if (isCleanPurgeableSpace_)
        cleanPurgeableSpace();
    if (!photos_.empty()) {
        setStage(std::make_shared<PhotoDeleter>(shared_from_this()), true);
        if (state_ == DeleterState::started)
            deleter_->start();
        return;
    }
    if (isCleanPurgeableSpace_)
        return;
    finish();
}

void Deleter::cleanPurgeableSpace() {
    analytics()->event(25, {});
    if (auto target = this->target())
        target->deleterCurrent("/");
    PurgeableSpaceHelper::shared().cleanPurgeableSpace([weakSelf = weak_from_this()](bool finished) {
        auto& helper = PurgeableSpaceHelper::shared();
        std::uint64_t began = helper.sizeWhenCleaningBegan();
        std::uint64_t current = helper.currentPurgeableSize();
        std::uint64_t cleaned = began < current ? 0 : began - current;
        DispatchQueue::main()->async([weakSelf, finished, cleaned, current] {
            auto self = weakSelf.lock();
            if (!self || !self->isCleanPurgeableSpace_)
                return;
            self->isCleanPurgeableSpace_ = false;
            self->purgeableSpaceFinished();
            if (!finished)
                analytics()->event(24, {{"cleanedSize", std::to_string(cleaned)},
                                        {"currentPurgeableSize", std::to_string(current)},
                                        {"timeout", "false"}});
        });
    });
}

// The cleaning ends with a second's pause that keeps the main queue serving, then counts as one
// item. When no photo stage is running, the deletion goes on to its end even if the count is
// short (a helper that could not be reached leaves its scripts uncounted): the host must always
// hear deleterCompleted().
void Deleter::purgeableSpaceFinished() {
    DispatchQueue::main()->asyncAfter(Seconds(1.0), [weakSelf = weak_from_this()] {
        auto self = weakSelf.lock();
        if (!self)
            return;
        ++self->currentCount_;
        if (auto target = self->target())
            target->deleterDeleted("/", std::nullopt);
        bool photoStageRunning = self->isDeletingPhotos() && self->state_ != DeleterState::completed;
        if (!photoStageRunning && self->state_ != DeleterState::completed)
            self->helperDeleterCompleted();
        else
            self->reportProgress();
    });
}

void Deleter::finish() {
    if (state_ == DeleterState::completed)
        return;
    state_ = DeleterState::completed;
    flowLog("completed currentCount=" + std::to_string(currentCount_) +
            " totalCount=" + std::to_string(totalCount_) + " helperActionError=" + text(helperActionError));
    if (auto target = this->target())
        target->deleterCompleted();
    setStage(nullptr);
}

} // namespace core
