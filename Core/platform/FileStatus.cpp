#include "Core/platform/FileStatus.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace core {

FileKind fileKindOfMode(FileMode mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileKind::regular;
    case S_IFDIR:
        return FileKind::folder;
    case S_IFLNK:
        return FileKind::symbolicLink;
    case S_IFCHR:
        return FileKind::characterDevice;
    case S_IFBLK:
        return FileKind::blockDevice;
    case S_IFIFO:
        return FileKind::fifo;
    case S_IFSOCK:
        return FileKind::socket;
    default:
        return FileKind::unknown;
    }
}

namespace {

FileStatus fileStatusOf(const struct stat& info) {
    FileStatus status;
    status.kind = fileKindOfMode(info.st_mode);
    status.mode = info.st_mode;
    status.size = info.st_size;
    status.allocatedSize = static_cast<std::int64_t>(info.st_blocks) * 512;
    status.device = info.st_dev;
    status.inode = info.st_ino;
    status.linkCount = info.st_nlink;
    status.owner = info.st_uid;
    status.group = info.st_gid;
    status.accessTime = info.st_atim.tv_sec;
    status.modificationTime = info.st_mtim.tv_sec;
    status.changeTime = info.st_ctim.tv_sec;
    return status;
}

std::optional<FileStatus> statusOrError(int result, const struct stat& info, int* error) {
    if (result == 0)
        return fileStatusOf(info);
    if (error)
        *error = errno;
    return std::nullopt;
}

} // namespace

bool FileStatus::isSpecial() const {
    return isSpecialFile(mode);
}

std::optional<FileStatus> fileStatus(const std::string& path, LinkHandling links, int* error) {
    struct stat info {};
    int result = links == LinkHandling::follow ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info);
    return statusOrError(result, info, error);
}

std::optional<FileStatus> fileStatusAt(int folder, const char* name, int* error) {
    struct stat info {};
    return statusOrError(::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW), info, error);
}

std::optional<FileStatus> fileStatusOfDescriptor(int descriptor, int* error) {
    struct stat info {};
    return statusOrError(::fstat(descriptor, &info), info, error);
}

bool leadsToFolder(const std::string& path) {
    auto status = fileStatus(path, LinkHandling::follow);
    return status && status->isFolder();
}

int getFileInfo(const char* path, FileStatus* buffer) {
    struct stat info {};
    if (::lstat(path, &info) != 0)
        return -1;
    *buffer = fileStatusOf(info);
    return 0;
}

bool isFolder(FileMode mode) {
    return S_ISDIR(mode);
}

bool isSymbolicLink(FileMode mode) {
    return S_ISLNK(mode);
}

bool isSpecialFile(FileMode mode) {
    return S_ISCHR(mode) || S_ISBLK(mode) || S_ISFIFO(mode) || S_ISSOCK(mode);
}

std::optional<std::time_t> getCreationTime(const char* path) {
    struct statx info {};
    if (::statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_BTIME, &info) != 0 ||
        !(info.stx_mask & STATX_BTIME))
        return std::nullopt;
    return static_cast<std::time_t>(info.stx_btime.tv_sec);
}

bool canAccess(const std::string& path, Access access) {
    return ::access(path.c_str(), access == Access::read ? R_OK : W_OK) == 0;
}

bool hasExtendedAttribute(const std::string& path, const char* name) {
    return ::lgetxattr(path.c_str(), name, nullptr, 0) != -1;
}

std::optional<std::string> canonicalPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (!resolved)
        return std::nullopt;
    return std::string(resolved.get());
}

} // namespace core
