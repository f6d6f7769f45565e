// Plain functions over the file system that every scanner stands on: the file facts of
// FileStatus.h, the allocated size of a whole folder tree, and the content of a small file.
//
// Threading: all are reentrant and may run on any thread at once.
#pragma once

#include "Core/platform/FileStatus.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace core {

// The bytes allocated to the regular files below `path`, links not followed, stopping early once
// *stop becomes true (stop may be null). A folder with 65,535 links is not entered and counts
// 2,097,120 bytes: such a folder is too large to be worth listing. The errno of an entry that
// could not be read is stored in *error (may be null); the walk goes on past it. 0 when the walk
// cannot start.
std::int64_t GetDirectorySize(const char* path, const std::atomic<bool>* stop, int* error);

// Told of an entry that could not be read: its path and the errno.
using UnreadableEntry = std::function<void(const std::string& path, int error)>;

// As GetDirectorySize, telling `unreadable` (may be empty) of every entry below that could not be
// read, the top included, so that a caller can say which parts of a size are missing.
std::int64_t directorySize(const char* path, const std::atomic<bool>* stop,
                           const UnreadableEntry& unreadable);

struct TreeTally {
    std::int64_t bytes = 0;     // lengths of the regular files
    std::int64_t allocated = 0; // bytes allocated to the regular files
    std::int64_t entries = 0;   // everything below, folders included
};

// The whole content of a file; absent when it cannot be read.
std::optional<std::string> readFileContents(const std::string& path);

// The totals of everything below a folder, links not followed: what a package is worth as one
// item.
TreeTally tallyTree(const char* path, const std::atomic<bool>* stop);

} // namespace core
