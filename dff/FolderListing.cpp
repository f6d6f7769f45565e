#include "dff/FolderListing.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dff {
namespace {

std::atomic<int> kindsUnknown{0};

EntryKind kindOf(mode_t mode) {
    if (S_ISREG(mode))
        return EntryKind::file;
    if (S_ISDIR(mode))
        return EntryKind::folder;
    if (S_ISLNK(mode))
        return EntryKind::link;
    return EntryKind::other;
}

FileStatus statusFrom(const struct stat& info) {
    return {kindOf(info.st_mode), info.st_size, static_cast<long long>(info.st_blocks) * 512,
            info.st_dev,          info.st_ino,  info.st_nlink};
}

// Closes a descriptor without losing the error number of the call before.
void closeKeepingErrno(int fd) {
    int saved = errno;
    ::close(fd);
    errno = saved;
}

// Opens `path` whole when the system takes it, else piece by piece, each piece shorter than the
// limit and opened relative to the folder before it.
int openPath(const std::string& text, int flags) {
    if (text.size() < PATH_MAX)
        return ::open(text.c_str(), flags | O_CLOEXEC);
    int folder = AT_FDCWD;
    std::size_t start = 0;
    while (text.size() - start >= PATH_MAX) {
        std::size_t cut = text.rfind('/', start + PATH_MAX - 1);
        if (cut == std::string::npos || cut <= start) {
            if (folder != AT_FDCWD)
                ::close(folder);
            errno = ENAMETOOLONG;
            return -1;
        }
        int next =
            ::openat(folder, text.substr(start, cut - start).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (folder != AT_FDCWD)
            closeKeepingErrno(folder);
        if (next < 0)
            return -1;
        folder = next;
        start = cut + 1;
    }
    int fd = ::openat(folder, text.c_str() + start, flags | O_CLOEXEC);
    if (folder != AT_FDCWD)
        closeKeepingErrno(folder);
    return fd;
}

// Runs `call(folder, name)` with the folder that holds `path` and the path's last component, or
// with the whole path where the system takes it whole.
template <class Call> long long inParent(const Path& path, Call call) {
    const std::string& text = path.str();
    if (text.size() < PATH_MAX)
        return call(AT_FDCWD, text.c_str());
    std::size_t slash = text.rfind('/');
    int parent = openPath(text.substr(0, slash), O_PATH | O_DIRECTORY);
    if (parent < 0)
        return -1;
    long long result = call(parent, text.c_str() + slash + 1);
    closeKeepingErrno(parent);
    return result;
}

} // namespace

FolderListing::FolderListing(const Path& folder) {
    int fd = openPath(folder.str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (fd >= 0 && !(dir_ = ::fdopendir(fd)))
        closeKeepingErrno(fd);
    if (!dir_)
        error_ = errno;
}

FolderListing::~FolderListing() {
    if (dir_)
        ::closedir(static_cast<DIR*>(dir_));
}

bool FolderListing::next(const char*& name, EntryKind& kind) {
    if (!dir_)
        return false;
    while (dirent* entry = ::readdir(static_cast<DIR*>(dir_))) {
        name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        switch (kindsUnknown > 0 ? static_cast<unsigned char>(DT_UNKNOWN) : entry->d_type) {
        case DT_REG:
            kind = EntryKind::file;
            break;
        case DT_DIR:
            kind = EntryKind::folder;
            break;
        case DT_LNK:
            kind = EntryKind::link;
            break;
        case DT_UNKNOWN: {
            FileStatus found;
            kind = status(name, found) == 0 ? found.kind : EntryKind::other;
            break;
        }
        default:
            kind = EntryKind::other;
        }
        return true;
    }
    return false;
}

int FolderListing::status(const char* name, FileStatus& out) const {
    if (!dir_)
        return error_;
    struct stat info {};
    if (::fstatat(::dirfd(static_cast<DIR*>(dir_)), name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    out = statusFrom(info);
    return 0;
}

int FolderListing::status(FileStatus& out) const {
    if (!dir_)
        return error_;
    struct stat info {};
    if (::fstat(::dirfd(static_cast<DIR*>(dir_)), &info) != 0)
        return errno;
    out = statusFrom(info);
    return 0;
}

FolderListing::KindsUnknown::KindsUnknown() {
    ++kindsUnknown;
}

FolderListing::KindsUnknown::~KindsUnknown() {
    --kindsUnknown;
}

int statusOf(const Path& path, FileStatus& out, bool followLinks) {
    struct stat info {};
    if (inParent(path, [&](int folder, const char* name) {
            return ::fstatat(folder, name, &info, followLinks ? 0 : AT_SYMLINK_NOFOLLOW);
        }) != 0)
        return errno;
    out = statusFrom(info);
    return 0;
}

int openForReading(const Path& path) {
    return openPath(path.str(), O_RDONLY);
}

long long readLink(const Path& path, char* buffer, long long capacity) {
    return inParent(path, [&](int folder, const char* name) {
        return ::readlinkat(folder, name, buffer, static_cast<std::size_t>(capacity));
    });
}

std::optional<Path> canonicalPath(const Path& path) {
    char* resolved = ::realpath(path.cStr(), nullptr);
    if (!resolved)
        return std::nullopt;
    Path result(resolved);
    std::free(resolved);
    return result;
}

} // namespace dff
