// Counts the folders a command's scan could not read, from the diagnostics the library logs for
// them, so that the human output can say how many there were. Every call is passed on to the sink
// that was in place; that sink is put back when the count goes.
#pragma once

#include "Core/foundation/Analytics.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <ostream>

namespace tidewell {

class UnreadableFolders {
public:
    UnreadableFolders();
    ~UnreadableFolders();
    UnreadableFolders(const UnreadableFolders&) = delete;
    UnreadableFolders& operator=(const UnreadableFolders&) = delete;

    std::int64_t count() const;
    // Counts one the command found itself.
    void add();
    // "N folders could not be read" on a line of its own, when N > 0.
    void printSummary(std::ostream& out) const;

private:
    class CountingSink;
    std::shared_ptr<core::IAnalytics> previous_;
    std::shared_ptr<CountingSink> sink_;
};

} // namespace tidewell
