// The duplicate engine's model of what it found: 128-bit digests and the class tree of entries
// (files, links, folders, packages, photo libraries, photos). Entries carry no behaviour; the
// finder and the hashers write digests, sizes and the two marks into them. A search holds one
// entry per file it walked, so an entry is kept small: a kind tag, its name, and owned children.
//
// Threading: no locks; an entry is touched by one thread at a time: the one running the search,
// or the one racing the entry's size group, handing it back before the search goes on. Names and
// parents do not change after the walk, so any thread may build a path.
#pragma once

#include "dff/Path.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

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
    // Every entry knows its exact class: the folder digests and the descent into folders test it,
    // and an owner destroys an entry as what it is, with no virtual table in tens of thousands of
    // small entries.
    enum class Kind : unsigned char { file, symlink, directory, package, photoLibrary, photo };

    // An entry below a container keeps only its last path component: the full path is its
    // parent's and the name. A root, and a photo whose file lies deeper in its library, keep it
    // whole.
    File(const Path& path, long long size, Container* parent) : File(path, size, parent, Kind::file) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Built on each call, from the parents down.
    Path path() const;
    const std::string& name() const { return name_; }

    const Kind kind;
    // No full twin, or could not be compared. Travels upward to the folders above.
    bool unique = false;
    long long size;
    Container* parent;
    HashValue hash;
    // The uniform type identifier, once asked for; null before, and after an ask that failed.
    const char* type = nullptr;

    // The file's uniform type identifier, by extension or else by content; null when it cannot be
    // told, and then a later call asks again.
    const char* getType();

protected:
    File(const Path& path, long long size, Container* parent, Kind kind);

private:
    bool keepsWholePath() const { return !parent || kind == Kind::photo; }
    std::string name_;
};

// Deletes an entry as its exact kind.
struct EntryDeleter {
    void operator()(File* entry) const;
};

// An entry held by its folder.
using Entry = std::unique_ptr<File, EntryDeleter>;

class Symlink : public File {
public:
    Symlink(const Path& path, long long size, Container* parent) : File(path, size, parent, Kind::symlink) {}
};

class Container : public File {
public:
    // One of a group of at least two containers with equal digests.
    bool duplicate = false;

protected:
    Container(const Path& path, Container* parent, Kind kind) : File(path, 0, parent, kind) {}
};

class Directory : public Container {
public:
    Directory(const Path& path, Container* parent) : Container(path, parent, Kind::directory) {}
    std::vector<Entry> entries;
};

class Package : public Container {
public:
    Package(const Path& path, Container* parent) : Container(path, parent, Kind::package) {}

protected:
    Package(const Path& path, Container* parent, Kind kind) : Container(path, parent, kind) {}
};

class Photo : public File {
public:
    Photo(std::string id, const Path& path, long long size, Container* parent)
        : File(path, size, parent, Kind::photo), id(std::move(id)) {}
    std::string id;
};

class PhotoLibrary : public Package {
public:
    PhotoLibrary(const Path& path, Container* parent) : Package(path, parent, Kind::photoLibrary) {}
    // Appended only, so that the addresses the groups hold stay valid.
    std::deque<Photo> photos;
};

// 0 a plain file, 1 a folder, 2 a link, 3 anything else; by the exact kind.
int fileTypeId(const File* file);

} // namespace dff
