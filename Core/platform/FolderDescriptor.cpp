#include "Core/platform/FolderDescriptor.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace core {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Opens `rest` one component at a time below the folder `fd`, which it closes.
int openBelow(int fd, const std::string& rest) {
    std::size_t begin = 0;
    while (fd >= 0 && begin < rest.size()) {
        std::size_t slash = rest.find('/', begin);
        std::size_t end = slash == std::string::npos ? rest.size() : slash;
        if (end > begin) {
            int next = ::openat(fd, rest.substr(begin, end - begin).c_str(), folderFlags);
            int error = errno;
            ::close(fd);
            fd = next;
            errno = error;
        }
        begin = end + 1;
    }
    return fd;
}

} // namespace

int openFolderNoFollow(const std::string& path) {
    if (path.size() < PATH_MAX)
        return ::open(path.c_str(), folderFlags);
    // The longest leading part the kernel takes in one call, cut at a component boundary.
    std::size_t cut = path.rfind('/', PATH_MAX - 1);
    if (cut == std::string::npos || cut == 0) {
        errno = ENAMETOOLONG;
        return -1;
    }
    int head = ::open(path.substr(0, cut).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return head < 0 ? -1 : openBelow(head, path.substr(cut + 1));
}

} // namespace core
