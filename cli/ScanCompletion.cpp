#include "cli/ScanCompletion.h"

#include "Core/platform/Dispatch.h"

#include <chrono>

namespace tidewell {

void ScanCompletion::wait() {
    // A scan takes as long as the disk needs; each round of pumping takes a finite wait.
    while (!core::DispatchQueue::runUntil([this] { return done_.load(); }, std::chrono::hours(1))) {
    }
    core::DispatchQueue::drainMain();
    done_ = false;
}

} // namespace tidewell
