// The photo stage of a Deleter.
//
// Threading: start(), pause() and stop() on the main queue; reports reach the Deleter on the
// main queue, holding it only weakly: a report for a Deleter that is gone is dropped.
#pragma once

#include "Core/deletion/Deleter.h"

#include <memory>
#include <string>
#include <vector>

namespace core {

// Deletes the photos of a photo library as one batch. Photo libraries cannot be opened by this
// library yet: the batch fails as a library that cannot be loaded, and the delegate decides.
class PhotoDeleter : public DeleterProtocol, public std::enable_shared_from_this<PhotoDeleter> {
public:
    explicit PhotoDeleter(const std::shared_ptr<Deleter>& deleter) : deleter_(deleter) {}
    void start() override;
    void pause() override {}
    void stop() override {}

private:
    void run();
    void reportFailure(bool authError);
    void answer(bool again);
    std::weak_ptr<Deleter> deleter_;
    bool stated_ = false;
};

} // namespace core
