// The single entry through which a host deletes what the user chose: one Deleter carries out one
// deletion of paths, photos and scripts, and optionally cleans purgeable space. The stages run one
// after the other: the file deleter in this process, then the privileged helper for what the file
// deleter was refused and for the scripts, then the photo library, with the purgeable space
// cleaned from the hand-over to the photo stage. Every finished item is counted, failed ones
// included, and reported to one delegate.
//
// Threading: start(), pause() and stop() are called on the main queue; every back end hops to the
// main queue before it calls into the Deleter, so all its state and every delegate call live
// there. deleterCompleted() comes exactly once.
#pragma once

#include "Core/foundation/File.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace core {

class DeleterDelegate {
public:
    virtual ~DeleterDelegate() = default;
    virtual void deleterCurrent(const std::string& path) = 0;
    virtual void deleterProgress(double value) = 0;
    virtual void deleterDeleted(const std::string& path, const std::optional<std::string>& unused) = 0;
    // error: an errno, or 0 when the failing side gave no number.
    virtual void deleterDeleteFailed(const std::string& path, std::int32_t error) = 0;
    // The photo stage failed; reply(true) tries it again, reply(false) gives up on every photo.
    virtual void deleterPhotoFailed(bool authError, std::function<void(bool)> reply) = 0;
    virtual void deleterCompleted() = 0;
};

// One stage of a deletion.
class DeleterProtocol {
public:
    virtual ~DeleterProtocol() = default;
    virtual void start() = 0;
    virtual void pause() = 0;
    virtual void stop() = 0;
};

enum class DeleterState { created, paused, started, stopped, completed };

class Deleter : public std::enable_shared_from_this<Deleter> {
public:
    static std::shared_ptr<Deleter> make(std::vector<std::string> files, std::vector<Photo> photos,
                                         std::optional<std::string> photoLibraryPath,
                                         std::vector<std::string> scripts, bool isCleanPurgeableSpace);
    ~Deleter();

    void start();
    void pause();
    void stop();

    std::weak_ptr<DeleterDelegate> delegate;
    bool isMoveToTrash = false;
    bool isShredder = false;
    // The helper channel broke during this deletion: some items were never reported.
    bool helperActionError = false;
    // When set, the flow of the deletion is logged under this tag.
    std::optional<std::string> diagnosticTag;

    bool isDeletingPhotos() const;
    DeleterState state() const { return state_; }
    int totalCount() const { return totalCount_; }
    int currentCount() const { return currentCount_; }
    const std::vector<std::string>& files() const { return files_; }
    const std::vector<Photo>& photos() const { return photos_; }
    const std::vector<std::string>& scripts() const { return scripts_; }
    const std::optional<std::string>& photoLibraryPath() const { return photoLibraryPath_; }

    // For the stages, on the main queue.
    void recordDeleted(const std::string& path, bool success, std::int32_t error);
    void fileDeleterCompleted(const std::vector<std::string>& paths);
    void helperDeleterCompleted();
    void finish();
    void flowLog(const std::string& message, int level = 2) const;
    void updateCurrent(const std::string& path);
    // A script the helper launched counts as a finished item without a report of its own.
    void countLaunchedScript();

private:
    Deleter(std::vector<std::string> files, std::vector<Photo> photos,
            std::optional<std::string> photoLibraryPath, std::vector<std::string> scripts,
            bool isCleanPurgeableSpace);
    void cleanPurgeableSpace();
    void purgeableSpaceFinished();
    void reportProgress();
    void setStage(std::shared_ptr<DeleterProtocol> stage, bool photos = false);
    std::shared_ptr<DeleterDelegate> target() const { return delegate.lock(); }

    std::shared_ptr<DeleterProtocol> deleter_;
    std::vector<std::string> files_;
    std::vector<Photo> photos_;
    std::vector<std::string> scripts_;
    int totalCount_ = 0;
    int currentCount_ = 0;
    bool isCleanPurgeableSpace_ = false;
    DeleterState state_ = DeleterState::created;
    std::optional<std::string> photoLibraryPath_;
    bool deletingPhotos_ = false;
};

} // namespace core
