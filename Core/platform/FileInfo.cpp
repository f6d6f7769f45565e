#include "Core/platform/FileInfo.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <unistd.h>

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

namespace {

// A physical walk relative to open folder descriptors, as du does: each name is resolved against
// its folder instead of from the top again, and only regular files and folders are asked for
// their attributes; the listing's entry type tells what the rest are. The visitor is told of
// every regular file, of every folder before it is entered (and may refuse), and of anything else.
template <class Visitor> class PhysicalWalk {
public:
    PhysicalWalk(Visitor& visitor, const std::atomic<bool>* stop, int* error)
        : visitor_(visitor), stop_(stop), error_(error) {}

    // Walks below `path`, a folder already looked at.
    void walkBelow(const char* path) { enterFolder(AT_FDCWD, path, false); }

private:
    bool stopped() const { return stop_ && stop_->load(std::memory_order_relaxed); }

    void note(int errorNumber) {
        if (error_ && errorNumber != 0)
            *error_ = errorNumber;
    }

    void enterFolder(int parent, const char* name, bool askVisitor) {
        int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            note(errno);
            return;
        }
        struct stat info {};
        if (askVisitor && (::fstat(fd, &info) != 0 || !visitor_.folder(info))) {
            ::close(fd);
            return;
        }
        walkFolder(fd);
    }

    void walkFolder(int fd) {
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            note(errno);
            ::close(fd);
            return;
        }
        while (dirent* entry = ::readdir(dir)) {
            if (stopped())
                break;
            const char* name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                continue;
            visit(::dirfd(dir), name, entry->d_type);
        }
        ::closedir(dir);
    }

    void visit(int folder, const char* name, unsigned char type) {
        if (type == DT_DIR)
            return enterFolder(folder, name, true);
        if (type != DT_REG && type != DT_UNKNOWN)
            return visitor_.other();
        struct stat info {};
        if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            return note(errno);
        if (S_ISREG(info.st_mode))
            visitor_.file(info);
        else if (S_ISDIR(info.st_mode))
            enterFolder(folder, name, true);
        else
            visitor_.other();
    }

    Visitor& visitor_;
    const std::atomic<bool>* stop_;
    int* error_;
};

std::int64_t allocatedBytes(const struct stat& info) {
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

struct AllocatedSize {
    std::int64_t total = 0;
    void file(const struct stat& info) { total += allocatedBytes(info); }
    bool folder(const struct stat& info) {
        if (info.st_nlink != hugeFolderLinkCount)
            return true;
        total += hugeFolderSize;
        return false;
    }
    void other() {}
};

struct TreeTallyVisitor {
    TreeTally tally;
    void file(const struct stat& info) {
        tally.bytes += info.st_size;
        tally.allocated += allocatedBytes(info);
        ++tally.entries;
    }
    bool folder(const struct stat&) {
        ++tally.entries;
        return true;
    }
    void other() { ++tally.entries; }
};

} // namespace

std::int64_t GetDirectorySize(const char* path, const std::atomic<bool>* stop, int* error) {
    struct stat info {};
    if (::lstat(path, &info) != 0) {
        if (error)
            *error = errno;
        return 0;
    }
    if (S_ISREG(info.st_mode))
        return allocatedBytes(info);
    AllocatedSize size;
    if (S_ISDIR(info.st_mode) && size.folder(info))
        PhysicalWalk(size, stop, error).walkBelow(path);
    return size.total;
}

std::vector<FolderEntry> listFolder(const std::string& path) {
    std::vector<FolderEntry> entries;
    DIR* dir = ::opendir(path.c_str());
    if (!dir)
        return entries;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat info {};
        bool folder = ::stat((path + "/" + name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
        entries.push_back({std::move(name), folder});
    }
    ::closedir(dir);
    return entries;
}

std::optional<std::string> readFileContents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

TreeTally TallyTree(const char* path, const std::atomic<bool>* stop) {
    TreeTallyVisitor visitor;
    PhysicalWalk(visitor, stop, nullptr).walkBelow(path);
    return visitor.tally;
}

} // namespace core
