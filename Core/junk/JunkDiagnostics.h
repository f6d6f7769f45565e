// What a junk category tells the diagnostics when it ends: its name, how long it took, and how
// many files it found with their total size.
//
// Threading: a tally belongs to the category that fills it.
#pragma once

#include "Core/foundation/File.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace core {

inline constexpr int junkCategoryEventNumber = 2;

// Where a category sends each find.
using FoundFile = std::function<void(const File&)>;

class JunkCategoryTally {
public:
    JunkCategoryTally() : started_(std::chrono::steady_clock::now()) {}

    void add(std::int64_t size) {
        ++count_;
        total_ += size;
    }
    // Counts the file and hands it on.
    void report(const File& file, const FoundFile& found) {
        add(file.size);
        found(file);
    }
    std::int64_t count() const { return count_; }
    std::int64_t total() const { return total_; }

    // Sends event 2 with "part", "duration" (milliseconds since the tally began), "num", "size",
    // and answers the table it sent.
    std::map<std::string, std::string> sendEvent(const std::string& part) const;

private:
    std::chrono::steady_clock::time_point started_;
    std::int64_t count_ = 0;
    std::int64_t total_ = 0;
};

} // namespace core
