// A temporary folder for one test, removed at the end, with helpers to lay out a tree in it; and
// a guard that points the process-wide paths at such a tree for the test's duration.
#pragma once

#include "Core/platform/SystemPaths.h"

#include <cstdint>
#include <string>
#include <vector>

namespace core::testing {

class TempTree {
public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    const std::string& path() const { return path_; }
    // The absolute path of a relative one inside the tree.
    std::string at(const std::string& relative) const;
    // Writes `bytes` bytes of content, making the folders on the way; returns the absolute path.
    std::string file(const std::string& relative, std::size_t bytes = 0) const;
    std::string folder(const std::string& relative) const;

private:
    std::string path_;
};

// Whether anything is at `path`, a dangling link included.
bool entryExists(const std::string& path);

// The bytes the file system allocated to one file, as folder sizes count them.
std::int64_t allocatedBytes(const std::string& path);

// Sets root and home of SystemPaths::shared() and restores the previous ones.
class ScopedSystemPaths {
public:
    ScopedSystemPaths(const std::string& root, const std::string& home);
    ~ScopedSystemPaths();

private:
    std::string previousRoot_, previousHome_;
};

// Makes the given folders the only mounted volumes for the life of the object.
class ScopedMountTable {
public:
    explicit ScopedMountTable(const std::vector<std::string>& mountPoints);
    ~ScopedMountTable();

private:
    TempTree folder_;
};

} // namespace core::testing
