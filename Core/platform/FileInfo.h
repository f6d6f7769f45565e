// Plain functions over the file system that every scanner stands on: one lstat, the file type
// tests of a mode, and the allocated size of a whole folder tree.
//
// Threading: all are reentrant and may run on any thread at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace core {

// lstat: 0 on success, -1 with errno set otherwise.
int getFileInfo(const char* path, struct stat* buffer);

bool isFolder(mode_t mode);
bool isSymbolicLink(mode_t mode);
// Character device, block device, FIFO or socket.
bool isSpecialFile(mode_t mode);

// The birth time of a file, where the file system records one.
std::optional<std::time_t> getCreationTime(const char* path);

// The bytes allocated to the regular files below `path`, links not followed, stopping early once
// *stop becomes true (stop may be null). A folder with 65,535 links is not entered and counts
// 2,097,120 bytes: such a folder is too large to be worth listing. The errno of an entry that
// could not be read is stored in *error (may be null); the walk goes on past it. 0 when the walk
// cannot start.
std::int64_t GetDirectorySize(const char* path, const std::atomic<bool>* stop, int* error);

struct TreeTally {
    std::int64_t bytes = 0;     // lengths of the regular files
    std::int64_t allocated = 0; // bytes allocated to the regular files
    std::int64_t entries = 0;   // everything below, folders included
};

// One entry of a folder; links are followed to tell folders.
struct FolderEntry {
    std::string name;
    bool isDirectory;
};

// The entries of a folder without "." and ".."; empty when it cannot be read.
std::vector<FolderEntry> listFolder(const std::string& path);

// The whole content of a file; absent when it cannot be read.
std::optional<std::string> readFileContents(const std::string& path);

// The totals of everything below a folder, links not followed: what a package is worth as one
// item.
TreeTally TallyTree(const char* path, const std::atomic<bool>* stop);

} // namespace core
