#include "Core/platform/Bundle.h"

#include <sys/stat.h>

namespace core {
namespace {

bool isFile(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isDirectory(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

std::optional<Bundle> Bundle::open(const std::string& path, PlistProblem* problem) {
    PlistProblem why = PlistProblem::missing;
    auto bundle = isDirectory(path) ? read(path, why) : std::nullopt;
    if (problem)
        *problem = why;
    return bundle;
}

std::optional<Bundle> Bundle::read(const std::string& path, PlistProblem& problem) {
    Bundle bundle;
    bundle.path_ = path;
    auto info = readPlistContent(path + "/Contents/Info.plist", &problem);
    if (!info && !isRefusal(problem)) {
        info = readPlistContent(path + "/Info.plist", &problem);
        bundle.flat_ = true;
    }
    if (!info)
        return std::nullopt;
    bundle.info_ = std::move(*info);
    return bundle;
}

std::optional<std::string> Bundle::executablePath() const {
    auto name = stringValue(info_, "CFBundleExecutable");
    if (!name || name->empty())
        return std::nullopt;
    auto executable = flat_ ? path_ + "/" + *name : path_ + "/Contents/MacOS/" + *name;
    return isFile(executable) ? std::optional(executable) : std::nullopt;
}

bool isValidBundleURL(const std::string& path) {
    return isDirectory(path) && isFile(path + "/Contents/Info.plist");
}

std::string displayNameAtPath(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".app") == 0)
        name.resize(name.size() - 4);
    return name;
}

} // namespace core
