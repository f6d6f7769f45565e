// The helper stage of a Deleter: what the user's rights did not allow, and the scripts.
//
// Threading: start(), pause() and stop() on the main queue; reports reach the Deleter on the
// main queue, holding it only weakly: a report for a Deleter that is gone is dropped.
#pragma once

#include "Core/deletion/Deleter.h"

#include <memory>
#include <string>
#include <vector>

namespace core {

// Hands the refused paths and the scripts to the privileged helper. No helper tool is installed by
// this library yet, so a connection cannot be made: every path is reported failed with error 0,
// scripts are not counted, and the stage ends normally.
class HelperDeleterWrapper : public DeleterProtocol,
                             public std::enable_shared_from_this<HelperDeleterWrapper> {
public:
    static std::shared_ptr<HelperDeleterWrapper> make(const std::shared_ptr<Deleter>& deleter,
                                                      std::vector<std::string> files,
                                                      std::vector<std::string> scripts);
    void start() override;
    void pause() override;
    void stop() override;

private:
    bool connect() const { return false; }
    void helperDeletedAt(const std::string& path, bool success);
    void helperDeletionCompleted();
    void log(const std::string& message, int level = 2) const;

    std::weak_ptr<Deleter> deleter_;
    std::vector<std::string> files_;
    std::vector<std::string> scripts_;
    bool started_ = false;
    bool completed_ = false;
};

} // namespace core
