// What the file system says about one file, in the library's own terms: every layer above the
// platform reads file facts through this value instead of the system's stat record, so that no
// layer above needs an operating-system header.
//
// Threading: all functions are reentrant and may run on any thread at once.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace core {

enum class FileKind : std::uint8_t {
    regular,
    folder,
    symbolicLink,
    characterDevice,
    blockDevice,
    fifo,
    socket,
    unknown,
};

// The type and permission bits of a file, as the file system stores them.
using FileMode = std::uint32_t;

struct FileStatus {
    FileKind kind = FileKind::unknown;
    FileMode mode = 0;
    std::int64_t size = 0;          // apparent length in bytes
    std::int64_t allocatedSize = 0; // bytes of the disk taken up (blocks of 512)
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t linkCount = 0;
    std::uint32_t owner = 0; // user id
    std::uint32_t group = 0;
    std::time_t accessTime = 0;
    std::time_t modificationTime = 0;
    std::time_t changeTime = 0;

    bool isFolder() const { return kind == FileKind::folder; }
    bool isRegular() const { return kind == FileKind::regular; }
    bool isSymbolicLink() const { return kind == FileKind::symbolicLink; }
    // Character device, block device, FIFO or socket.
    bool isSpecial() const;
};

enum class LinkHandling { keep, follow };

// The status of `path`; a link is described itself unless `links` says follow. Absent with the
// errno stored in *error (may be null) when it cannot be read.
std::optional<FileStatus> fileStatus(const std::string& path, LinkHandling links = LinkHandling::keep,
                                     int* error = nullptr);

// Whether `path`, its links followed, is a folder.
bool leadsToFolder(const std::string& path);

// The status of the entry `name` of the open folder `folder` (a descriptor), links not followed.
std::optional<FileStatus> fileStatusAt(int folder, const char* name, int* error = nullptr);

// The status of an open file or folder.
std::optional<FileStatus> fileStatusOfDescriptor(int descriptor, int* error = nullptr);

// lstat: 0 on success, -1 with errno set otherwise.
int getFileInfo(const char* path, FileStatus* buffer);

// The kind that the type bits of a mode name.
FileKind fileKindOfMode(FileMode mode);

bool isFolder(FileMode mode);
bool isSymbolicLink(FileMode mode);
// Character device, block device, FIFO or socket.
bool isSpecialFile(FileMode mode);

// The birth time of a file, where the file system records one.
std::optional<std::time_t> getCreationTime(const char* path);

enum class Access { read, write };

// Whether this process may read or write `path` (a link's target), by its permissions.
bool canAccess(const std::string& path, Access access);

// Whether the file itself (not a link's target) carries the extended attribute `name`.
bool hasExtendedAttribute(const std::string& path, const char* name);

// The canonical absolute path: links resolved, "." and ".." removed. Absent when any part of it
// cannot be resolved. It follows absolute links wherever they lead; a path that must stay inside a
// root is checked by the caller.
std::optional<std::string> canonicalPath(const std::string& path);

} // namespace core
