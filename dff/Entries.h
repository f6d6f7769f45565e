// The duplicate engine's model of what it found: 128-bit digests and the class tree of entries
// (files, links, folders, packages, photo libraries, photos). Entries carry no behaviour; the
// finder and the hashers write digests, sizes and the two marks into them.
//
// Threading: no locks; an entry is touched by one thread at a time: the one running the search,
// or the one racing the entry's size group, handing it back before the search goes on.
#pragma once

#include "dff/Path.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace dff {

// The first and the last 8 bytes of an MD5 result, in memory order.
struct HashValue {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    friend bool operator==(const HashValue& a, const HashValue& b) {
        return a.first == b.first && a.second == b.second;
    }
    friend bool operator<(const HashValue& a, const HashValue& b) {
        return a.first != b.first ? a.first < b.first : a.second < b.second;
    }
    friend bool operator>(const HashValue& a, const HashValue& b) { return b < a; }
};

class Container;

class File {
public:
    File(const Path& path, long long size, Container* parent) : path(path), size(size), parent(parent) {}
    File(Path&& path, long long size, Container* parent)
        : path(std::move(path)), size(size), parent(parent) {}
    // Gives every entry a run-time type identity, which fileTypeId and the folder descent use.
    virtual void typeInfo() {}

    Path path;
    long long size;
    Container* parent;
    HashValue hash;
    // No full twin, or could not be compared. Travels upward to the folders above.
    bool unique = false;
    // The uniform type identifier, once asked for; null before, and after an ask that failed.
    const char* type = nullptr;

    // The file's uniform type identifier, by extension or else by content; null when it cannot be
    // told, and then a later call asks again.
    const char* getType();
};

class Symlink : public File {
public:
    Symlink(Path&& path, long long size, Container* parent) : File(std::move(path), size, parent) {}
};

class Container : public File {
public:
    using File::File;
    // One of a group of at least two containers with equal digests.
    bool duplicate = false;
};

class Directory : public Container {
public:
    Directory(const Path& path, Container* parent) : Container(path, 0, parent) {}
    Directory(Path&& path, Container* parent) : Container(std::move(path), 0, parent) {}
    std::deque<std::shared_ptr<File>> entries;
};

class Package : public Container {
public:
    Package(const Path& path, Container* parent) : Container(path, 0, parent) {}
    Package(Path&& path, Container* parent) : Container(std::move(path), 0, parent) {}
};

class Photo : public File {
public:
    Photo(std::string id, Path&& path, long long size, Container* parent)
        : File(std::move(path), size, parent), id(std::move(id)) {}
    std::string id;
};

class PhotoLibrary : public Package {
public:
    PhotoLibrary(const Path& path, Container* parent) : Package(path, parent) {}
    // Appended only, so that the addresses the groups hold stay valid.
    std::deque<Photo> photos;
};

// 0 a plain file, 1 a folder, 2 a link, 3 anything else; by the exact type.
int fileTypeId(const File* file);

} // namespace dff
