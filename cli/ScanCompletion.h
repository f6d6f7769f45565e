// How the front end waits for a scan: the delegate call that ends the scan marks it, on whatever
// queue that call arrives, and the host pumps the main queue until then. Finds a scanner queued on
// the main queue before its last call still run before wait() returns, so a report is complete.
//
// Threading: mark() from any thread; wait() on the thread that drives the main queue.
#pragma once

#include <atomic>

namespace tidewell {

class ScanCompletion {
public:
    void mark() { done_ = true; }
    // Returns when the scan is marked and every main-queue task ready by then has run; the next
    // wait() then waits for the next mark.
    void wait();

private:
    std::atomic<bool> done_{false};
};

} // namespace tidewell
