// What a junk category tells the diagnostics when it ends: its name, how long it took, and how
// many files it found with their total size; and the folders a scan could not read, since a scan
// reports no errors to its delegate and an unreadable folder would otherwise just look empty.
//
// Threading: a tally belongs to the category that fills it; the functions are reentrant.
#pragma once

#include "Core/foundation/File.h"
#include "Core/foundation/FileManager.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <vector>

namespace core {

inline constexpr int junkCategoryEventNumber = 2;

// Lists a folder for a scan. A folder that exists but cannot be listed is logged; one that does not
// exist is not: the scans look at many folders that may not be there.
std::vector<URLResource> listFolderOrReport(const URL& folder, URLResourceKeys keys, std::error_code& error);

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
