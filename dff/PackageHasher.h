// Digests a package as a whole, over its structure (names, kinds, sizes) and contents, in small
// resumable steps so that packages race each other as files do; and tells packages from folders.
//
// Threading: a hasher belongs to one thread at a time; hashers share nothing.
#pragma once

#include "dff/FileReader.h"

#include <deque>

namespace dff {

class PackageHasher : public MD5 {
public:
    PackageHasher(Package* package, long long minSize);

    // One unit of work: one folder listing, one read stage of one file, or one link. True when the
    // whole package is digested. Throws std::runtime_error when it cannot go on.
    bool update();
    bool calculateDirectories();
    bool calculateFiles();
    bool calculateSymlinks();

    Package* package;

private:
    struct File {
        File(Path&& path, long long size) : path(std::move(path)), size(size) {}
        Path path;
        long long size;
    };

    void feed(char tag, const std::string& name, const long long* size);

    long long minSize_;
    std::unique_ptr<FileReader> reader_;
    std::deque<File> files_;
    std::deque<File> symlinks_;
    std::deque<Path> directories_;
};

// A folder presented as one document or application: a known package extension (compared
// without regard to case), or a "Contents/Info.plist" inside.
bool isPackagePath(const char* path);

// The total length of a package's files and links from one walk, or 0 (unknown) when the walk
// would cost more than a few thousand entries or the package holds no more bytes than entries.
long long packageFileSize(const Path& path);

} // namespace dff
