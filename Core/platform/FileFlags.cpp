#include "Core/platform/FileFlags.h"

#include "Core/platform/FileStatus.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace core {

std::optional<ProtectionFlags> protectionFlags(const std::string& path) {
    auto status = fileStatus(path);
    if (!status || !(status->isRegular() || status->isFolder()))
        return std::nullopt;
    int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    int flags = 0;
    bool read = ::ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0;
    ::close(descriptor);
    if (!read)
        return std::nullopt;
    return ProtectionFlags{(flags & FS_IMMUTABLE_FL) != 0, (flags & FS_APPEND_FL) != 0};
}

} // namespace core
