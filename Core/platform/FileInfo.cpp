#include "Core/platform/FileInfo.h"

#include <cerrno>
#include <fcntl.h>
#include <fts.h>

namespace core {
namespace {

constexpr nlink_t hugeFolderLinkCount = 65535;
constexpr std::int64_t hugeFolderSize = 2097120;

} // namespace

int getFileInfo(const char* path, struct stat* buffer) {
    return ::lstat(path, buffer);
}

bool isFolder(mode_t mode) {
    return S_ISDIR(mode);
}

bool isSymbolicLink(mode_t mode) {
    return S_ISLNK(mode);
}

bool isSpecialFile(mode_t mode) {
    return S_ISCHR(mode) || S_ISBLK(mode) || S_ISFIFO(mode) || S_ISSOCK(mode);
}

std::optional<std::time_t> getCreationTime(const char* path) {
    struct statx info {};
    if (::statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_BTIME, &info) != 0 ||
        !(info.stx_mask & STATX_BTIME))
        return std::nullopt;
    return static_cast<std::time_t>(info.stx_btime.tv_sec);
}

std::int64_t GetDirectorySize(const char* path, const std::atomic<bool>* stop, int* error) {
    char* roots[] = {const_cast<char*>(path), nullptr};
    FTS* walk = ::fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    if (!walk)
        return 0;
    std::int64_t total = 0;
    while (FTSENT* entry = ::fts_read(walk)) {
        if (stop && stop->load(std::memory_order_relaxed))
            break;
        switch (entry->fts_info) {
        case FTS_D:
            if (entry->fts_statp->st_nlink == hugeFolderLinkCount) {
                ::fts_set(walk, entry, FTS_SKIP);
                total += hugeFolderSize;
            }
            break;
        case FTS_F:
            total += static_cast<std::int64_t>(entry->fts_statp->st_blocks) * 512;
            break;
        default:
            if (error && entry->fts_errno != 0)
                *error = entry->fts_errno;
            break;
        }
    }
    ::fts_close(walk);
    return total;
}

} // namespace core
