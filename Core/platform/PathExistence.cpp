#include "Core/platform/PathExistence.h"

#include <sys/stat.h>

namespace core {

bool existsFollowingLinks(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

} // namespace core
