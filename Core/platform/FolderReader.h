// The one way the library lists a folder: names with their kind, "." and ".." left out. The kind
// comes from the listing itself where the file system gives it, and from an lstat of the entry
// where it does not (XFS without ftype, some network and FUSE file systems, overlay layers leave
// it unknown), so that no caller ever sees an unknown kind for an entry that still exists.
//
// Threading: a FolderReader belongs to one thread at a time; listFolder may run on any thread.
#pragma once

#include "Core/platform/FileStatus.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace core {

struct FolderEntry {
    std::string name;
    // A folder, or a link that leads to one: what a caller walking by names may enter.
    bool isDirectory = false;
    // The entry itself; links are not followed.
    FileKind kind = FileKind::unknown;
};

class FolderReader {
public:
    // Where the kinds come from: the listing (asking lstat only when it has none), or lstat for
    // every entry, which is what the listing falls back to and lets that path be exercised.
    enum class Kinds { fromListing, fromStatus };

    explicit FolderReader(const std::string& path, Kinds kinds = Kinds::fromListing);
    // Reads an open folder from its start; the descriptor stays the caller's.
    explicit FolderReader(int folderDescriptor, Kinds kinds = Kinds::fromListing);
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;

    // 0 while all is well; the errno of opening the folder, or of a listing that failed part way.
    int error() const { return error_; }

    // The next entry; absent at the end. An entry removed since it was listed is skipped.
    std::optional<FolderEntry> next();

    // The status of one entry of this folder, links not followed, without resolving the folder's
    // path again.
    std::optional<FileStatus> status(const std::string& name, int* error = nullptr) const;

private:
    struct Stream;
    std::unique_ptr<Stream> stream_;
    Kinds kinds_;
    int error_ = 0;
};

// Every entry of a folder; empty with *error set (may be null) when it cannot be read.
std::vector<FolderEntry> listFolder(const std::string& path, int* error = nullptr);

} // namespace core
