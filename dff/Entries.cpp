#include "dff/Entries.h"

#include "dff/FileType.h"

namespace dff {

File::File(const Path& path, long long size, Container* parent, Kind kind)
    : kind(kind), size(size), parent(parent) {
    const std::string& text = path.str();
    name_ = keepsWholePath() ? text : text.substr(text.rfind('/') + 1);
}

// Joined without recursion: a walk may go as deep as the file system lets it.
Path File::path() const {
    std::vector<const File*> below;
    const File* top = this;
    for (; !top->keepsWholePath(); top = top->parent)
        below.push_back(top);
    std::string text = top->name_;
    for (auto entry = below.rbegin(); entry != below.rend(); ++entry)
        text.append(1, '/').append((*entry)->name_);
    return Path(std::move(text));
}

const char* File::getType() {
    if (!type)
        type = fileTypeOf(path());
    return type;
}

void EntryDeleter::operator()(File* entry) const {
    switch (entry->kind) {
    case File::Kind::file:
        return delete entry;
    case File::Kind::symlink:
        return delete static_cast<Symlink*>(entry);
    case File::Kind::directory:
        return delete static_cast<Directory*>(entry);
    case File::Kind::package:
        return delete static_cast<Package*>(entry);
    case File::Kind::photoLibrary:
        return delete static_cast<PhotoLibrary*>(entry);
    case File::Kind::photo:
        return delete static_cast<Photo*>(entry);
    }
}

int fileTypeId(const File* file) {
    switch (file->kind) {
    case File::Kind::file:
        return 0;
    case File::Kind::directory:
        return 1;
    case File::Kind::symlink:
        return 2;
    default:
        return 3;
    }
}

} // namespace dff
