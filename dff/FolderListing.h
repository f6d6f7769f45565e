// The engine's one way to the file system: folder listings with the kind of each entry, the
// status of a path, the text of a link, and opening a file, for paths of any length. The scan, the
// package hasher, the package size and the accounting of freed space all read folders here.
//
// Paths longer than the system's limit are opened piece by piece, each piece relative to the
// folder before it, so that neither depth nor length stops the engine. The kind of an entry comes
// from the listing where the file system reports it, and from the entry's status where it leaves
// it unknown (as some network, FUSE and overlay file systems do, and XFS without file types).
//
// Threading: a listing belongs to one thread; the free functions are safe from any thread.
#pragma once

#include "dff/Path.h"

#include <cstdint>
#include <optional>

namespace dff {

enum class EntryKind : unsigned char { file, folder, link, other };

struct FileStatus {
    EntryKind kind = EntryKind::other;
    long long size = 0;      // the length, as the scan and the digests count it
    long long allocated = 0; // the bytes the file system gave it, which removing its last link frees
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t links = 1;
};

// The same file on the disk, whatever the path it was reached by.
struct FileID {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    friend bool operator==(const FileID&, const FileID&) = default;
};

inline FileID fileIDOf(const FileStatus& status) {
    return {status.device, status.inode};
}

struct FileIDHash {
    std::size_t operator()(const FileID& id) const { return id.inode * 31 + id.device; }
};

// One open folder. Entries come without "." and "..".
class FolderListing {
public:
    // Opens the folder without following a link in its last component.
    explicit FolderListing(const Path& folder);
    ~FolderListing();
    FolderListing(const FolderListing&) = delete;
    FolderListing& operator=(const FolderListing&) = delete;

    // The system's error number when the folder could not be opened, else 0.
    int error() const { return error_; }
    // The next entry's name (valid until the next call) and kind; false at the end.
    bool next(const char*& name, EntryKind& kind);
    // The status of an entry of this folder, links not followed; the error number on failure.
    int status(const char* name, FileStatus& out) const;
    // The status of the folder itself.
    int status(FileStatus& out) const;

    // While one lives, listings take the kind of every entry from its status, as on a file system
    // that reports no kinds: tests compare the two ways.
    class KindsUnknown {
    public:
        KindsUnknown();
        ~KindsUnknown();
        KindsUnknown(const KindsUnknown&) = delete;
        KindsUnknown& operator=(const KindsUnknown&) = delete;
    };

private:
    void* dir_ = nullptr;
    int error_ = 0;
};

// The status of a path; `followLinks` for what a link names. The error number on failure, else 0.
int statusOf(const Path& path, FileStatus& out, bool followLinks = false);

// Opens a file for reading; -1 with errno set on failure.
int openForReading(const Path& path);

// The text of a link into `buffer`, at most `capacity` bytes; its length, or -1.
long long readLink(const Path& path, char* buffer, long long capacity);

// The path with every link, "." and ".." resolved; nothing when it cannot be resolved.
std::optional<Path> canonicalPath(const Path& path);

} // namespace dff
