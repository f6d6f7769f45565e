#include "Core/platform/FileInfo.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace core {
namespace {

constexpr std::uint64_t hugeFolderLinkCount = 65535;
constexpr std::int64_t hugeFolderSize = 2097120;

// A physical walk relative to open folder descriptors, as du does: each name is resolved against
// its folder instead of from the top again, and only regular files and folders are asked for
// their attributes; the listing's entry type tells what the rest are. The visitor is told of
// every regular file, of every folder before it is entered (and may refuse), and of anything else.
// Whatever cannot be read is told to `unreadable` with its path, and the walk goes on past it.
template <class Visitor> class PhysicalWalk {
public:
    PhysicalWalk(Visitor& visitor, const std::atomic<bool>* stop, const UnreadableEntry& unreadable)
        : visitor_(visitor), stop_(stop), unreadable_(unreadable) {}

    // Walks below `path`, a folder already looked at.
    void walkBelow(const char* path) {
        path_ = path;
        enterFolder(AT_FDCWD, path, false);
    }

private:
    bool stopped() const { return stop_ && stop_->load(std::memory_order_relaxed); }

    void note(int errorNumber, const char* name = nullptr) {
        if (unreadable_ && errorNumber != 0)
            unreadable_(name ? path_ + "/" + name : path_, errorNumber);
    }

    void enterFolder(int parent, const char* name, bool askVisitor) {
        // The path is built only for what cannot be read: the walk itself goes by descriptors.
        std::size_t outer = path_.size();
        if (askVisitor)
            path_.append("/").append(name);
        int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0)
            note(errno);
        else if (!askVisitor || visitorEnters(fd))
            walkFolder(fd);
        else
            ::close(fd);
        path_.resize(outer);
    }

    bool visitorEnters(int fd) {
        auto info = fileStatusOfDescriptor(fd);
        return info && visitor_.folder(*info);
    }

    void walkFolder(int fd) {
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            note(errno);
            ::close(fd);
            return;
        }
        // A listing that fails part way says so only through errno.
        for (errno = 0; dirent* entry = ::readdir(dir); errno = 0) {
            if (stopped())
                break;
            const char* name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                continue;
            visit(::dirfd(dir), name, entry->d_type);
        }
        note(errno);
        ::closedir(dir);
    }

    void visit(int folder, const char* name, unsigned char type) {
        if (type == DT_DIR)
            return enterFolder(folder, name, true);
        if (type != DT_REG && type != DT_UNKNOWN)
            return visitor_.other();
        int error = 0;
        auto info = fileStatusAt(folder, name, &error);
        if (!info)
            return note(error, name);
        if (info->isRegular())
            visitor_.file(*info);
        else if (info->isFolder())
            enterFolder(folder, name, true);
        else
            visitor_.other();
    }

    Visitor& visitor_;
    const std::atomic<bool>* stop_;
    const UnreadableEntry& unreadable_;
    std::string path_;
};

struct AllocatedSize {
    std::int64_t total = 0;
    void file(const FileStatus& info) { total += info.allocatedSize; }
    bool folder(const FileStatus& info) {
        if (info.linkCount != hugeFolderLinkCount)
            return true;
        total += hugeFolderSize;
        return false;
    }
    void other() {}
};

struct TreeTallyVisitor {
    TreeTally tally;
    void file(const FileStatus& info) {
        tally.bytes += info.size;
        tally.allocated += info.allocatedSize;
        ++tally.entries;
    }
    bool folder(const FileStatus&) {
        ++tally.entries;
        return true;
    }
    void other() { ++tally.entries; }
};

} // namespace

std::int64_t GetDirectorySize(const char* path, const std::atomic<bool>* stop, int* error) {
    return directorySize(path, stop, [error](const std::string&, int errorNumber) {
        if (error)
            *error = errorNumber;
    });
}

std::int64_t directorySize(const char* path, const std::atomic<bool>* stop,
                           const UnreadableEntry& unreadable) {
    int error = 0;
    auto info = fileStatus(path, LinkHandling::keep, &error);
    if (!info) {
        if (unreadable)
            unreadable(path, error);
        return 0;
    }
    if (info->isRegular())
        return info->allocatedSize;
    AllocatedSize size;
    if (info->isFolder() && size.folder(*info))
        PhysicalWalk(size, stop, unreadable).walkBelow(path);
    return size.total;
}

std::optional<std::string> readFileContents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

TreeTally tallyTree(const char* path, const std::atomic<bool>* stop) {
    TreeTallyVisitor visitor;
    PhysicalWalk(visitor, stop, UnreadableEntry()).walkBelow(path);
    return visitor.tally;
}

} // namespace core
