#include "Core/platform/FolderReader.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace core {

struct FolderReader::Stream {
    DIR* dir = nullptr;
    ~Stream() {
        if (dir)
            ::closedir(dir);
    }
};

namespace {

// The listing's own type, when the file system gives one.
std::optional<FileKind> kindOfListedType(unsigned char type) {
    if (type == DT_UNKNOWN)
        return std::nullopt;
    return fileKindOfMode(DTTOIF(type));
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

bool linkLeadsToFolder(int folder, const char* name) {
    struct stat target {};
    return ::fstatat(folder, name, &target, 0) == 0 && S_ISDIR(target.st_mode);
}

} // namespace

FolderReader::FolderReader(const std::string& path, Kinds kinds)
    : stream_(std::make_unique<Stream>()), kinds_(kinds) {
    stream_->dir = ::opendir(path.c_str());
    if (!stream_->dir)
        error_ = errno;
}

FolderReader::FolderReader(int folderDescriptor, Kinds kinds)
    : stream_(std::make_unique<Stream>()), kinds_(kinds) {
    int own = ::openat(folderDescriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    stream_->dir = own < 0 ? nullptr : ::fdopendir(own);
    if (!stream_->dir) {
        error_ = errno;
        if (own >= 0)
            ::close(own);
    }
}

FolderReader::~FolderReader() = default;

std::optional<FolderEntry> FolderReader::next() {
    if (!stream_->dir)
        return std::nullopt;
    int folder = ::dirfd(stream_->dir);
    // A listing that fails part way says so only through errno; the entries read so far stand,
    // and error() tells that more were not read.
    for (errno = 0; dirent* entry = ::readdir(stream_->dir); errno = 0) {
        if (isDotOrDotDot(entry->d_name))
            continue;
        auto kind = kinds_ == Kinds::fromListing ? kindOfListedType(entry->d_type) : std::nullopt;
        if (!kind) {
            auto info = fileStatusAt(folder, entry->d_name);
            if (!info)
                continue;
            kind = info->kind;
        }
        bool directory = *kind == FileKind::folder ||
                         (*kind == FileKind::symbolicLink && linkLeadsToFolder(folder, entry->d_name));
        return FolderEntry{entry->d_name, directory, *kind};
    }
    if (errno)
        error_ = errno;
    return std::nullopt;
}

std::optional<FileStatus> FolderReader::status(const std::string& name, int* error) const {
    if (!stream_->dir) {
        if (error)
            *error = EBADF;
        return std::nullopt;
    }
    return fileStatusAt(::dirfd(stream_->dir), name.c_str(), error);
}

std::vector<FolderEntry> listFolder(const std::string& path, int* error) {
    FolderReader reader(path);
    std::vector<FolderEntry> entries;
    while (auto entry = reader.next())
        entries.push_back(std::move(*entry));
    if (error && reader.error())
        *error = reader.error();
    return entries;
}

} // namespace core
