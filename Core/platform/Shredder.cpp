#include "Core/platform/Shredder.h"

#include "Core/platform/DeletionWalk.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/Text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace core {
namespace {

constexpr std::size_t chunkSize = 1 << 16;

// File systems that write a changed block somewhere new rather than over the old one.
constexpr unsigned long copyOnWriteFileSystems[] = {
    0x9123683E, // btrfs
    0x2FC12FC1, // zfs
    0xF2F52010, // f2fs
    0x3434,     // nilfs
    0xCA451A4E, // bcachefs
    0x794C7630, // overlay: the upper layer gets a copy
};

std::vector<unsigned char> noise() {
    std::vector<unsigned char> bytes(chunkSize);
    for (std::size_t filled = 0; filled < bytes.size();) {
        ssize_t got = ::getrandom(bytes.data() + filled, bytes.size() - filled, 0);
        if (got > 0)
            filled += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            break;
    }
    return bytes;
}

int overwrite(int descriptor, std::int64_t length) {
    static const std::vector<unsigned char> pattern = noise();
    for (std::int64_t at = 0; at < length;) {
        auto count = static_cast<std::size_t>(std::min<std::int64_t>(chunkSize, length - at));
        ssize_t written = ::pwrite(descriptor, pattern.data(), count, at);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return written < 0 ? errno : EIO;
        at += written;
    }
    return ::fsync(descriptor) == 0 ? 0 : errno;
}

} // namespace

// Overwrites the regular file `name` of the open folder `folder` unless it has other names, then
// removes the entry, whatever it is.
int shredAt(int folder, const std::string& name) {
    int error = 0;
    auto listed = fileStatusAt(folder, name.c_str(), &error);
    if (!listed)
        return error == ENOENT ? 0 : error;
    if (listed->isRegular() && listed->linkCount == 1) {
        int descriptor =
            ::openat(folder, name.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (descriptor < 0)
            return errno;
        auto opened = fileStatusOfDescriptor(descriptor);
        // Swapped for something else since it was looked at: write nothing.
        bool same = opened && opened->isRegular() && opened->device == listed->device &&
                    opened->inode == listed->inode;
        error = same ? overwrite(descriptor, opened->size) : ELOOP;
        ::close(descriptor);
        if (error)
            return error;
    }
    return ::unlinkat(folder, name.c_str(), 0) == 0 ? 0 : errno;
}

namespace {

int shredTree(const std::string& path) {
    DeletionWalk walk(path);
    if (walk.error())
        return walk.error();
    while (auto entry = walk.next()) {
        int error = 0;
        if (entry->event == DeletionWalk::Event::file)
            error = shredAt(walk.currentFolderDescriptor(), walk.currentName());
        else if (entry->event == DeletionWalk::Event::folderDone)
            error = walk.removeCurrent();
        else if (entry->event == DeletionWalk::Event::unreadable)
            error = entry->errorNumber;
        if (error)
            return error;
    }
    return 0;
}

bool isSolidState(std::uint64_t device) {
    std::string block =
        "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    // A partition keeps its queue in the whole disk's folder, one level up.
    for (const char* queue : {"/queue/rotational", "/../queue/rotational"})
        if (auto rotational = readFileContents(block + queue))
            return rotational->rfind('0', 0) == 0;
    return false;
}

} // namespace

int shredPath(const std::string& path) {
    int error = 0;
    auto status = fileStatus(path, LinkHandling::keep, &error);
    if (!status)
        return error == ENOENT ? 0 : error;
    if (status->isFolder())
        return shredTree(path);
    auto [folder, name] = splitLastComponent(path);
    int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return errno;
    error = shredAt(descriptor, name);
    ::close(descriptor);
    return error;
}

bool overwriteIsReliable(const std::string& path) {
    struct statfs volume {};
    if (::statfs(path.c_str(), &volume) != 0)
        return false;
    auto type = static_cast<unsigned long>(volume.f_type);
    if (std::find(std::begin(copyOnWriteFileSystems), std::end(copyOnWriteFileSystems), type) !=
        std::end(copyOnWriteFileSystems))
        return false;
    auto status = fileStatus(path, LinkHandling::follow);
    return status && !isSolidState(status->device);
}

} // namespace core
