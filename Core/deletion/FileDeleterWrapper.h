// The file stage of a Deleter: the file deleter in this process.
//
// Threading: start(), pause() and stop() on the main queue. The file deleter's reports arrive on
// its queue and hop to the main queue, holding the Deleter only weakly: a report for a Deleter
// that is gone is dropped.
#pragma once

#include "Core/deletion/Deleter.h"
#include "Core/deletion/TWFileDeleter.h"

#include <memory>
#include <string>
#include <vector>

namespace core {

// Sorts what the file deleter could not do into failures and paths for the helper: a refusal for
// lack of rights (EPERM, EBADF, EACCES, ENOTEMPTY) is retried there, and only the helper's answer
// counts for it.
class FileDeleterWrapper : public DeleterProtocol,
                           public TWFileDeleterDelegate,
                           public std::enable_shared_from_this<FileDeleterWrapper> {
public:
    static std::shared_ptr<FileDeleterWrapper> make(const std::shared_ptr<Deleter>& deleter,
                                                    bool isMoveToTrash);

    void start() override { fileDeleter_->start(); }
    void pause() override { fileDeleter_->pause(); }
    void stop() override { fileDeleter_->stop(); }

    void fileDeleterCurrent(const std::string& path) override;
    void fileDeleterDeleted(const std::string& path, std::int32_t error) override;
    void scriptDeleted() override {}
    void fileDeleterCompleted() override;

    static bool isRetriedByHelper(std::int32_t error);

private:
    std::weak_ptr<Deleter> deleter_;
    std::shared_ptr<TWFileDeleter> fileDeleter_;
    std::vector<std::string> erroredPaths_;
};

} // namespace core
