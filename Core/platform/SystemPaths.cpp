#include "Core/platform/SystemPaths.h"
#include "Core/platform/ResourcesLocation.h"

#include <cstdlib>
#include <fstream>

namespace core {
namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string environmentOr(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    return value && *value ? value : fallback;
}

std::string join(const std::string& base, const std::string& relative) {
    std::size_t skip = relative.find_first_not_of('/');
    if (skip == std::string::npos)
        return base;
    std::string joined = base;
    if (joined != "/")
        joined += '/';
    joined.append(relative, skip, std::string::npos);
    return joined;
}

} // namespace

SystemPaths::SystemPaths(std::string root, std::string home) {
    configure(std::move(root), std::move(home));
}

SystemPaths& SystemPaths::shared() {
    static SystemPaths paths("/", environmentOr("HOME", "/"));
    return paths;
}

void SystemPaths::configure(std::string root, std::string home) {
    std::lock_guard lock(mutex_);
    root_ = withoutTrailingSlash(root.empty() ? "/" : std::move(root));
    home_ = withoutTrailingSlash(home.empty() ? "/" : std::move(home));
}

void SystemPaths::setResourcesDirectory(std::string directory) {
    std::lock_guard lock(mutex_);
    resources_ = withoutTrailingSlash(std::move(directory));
}

// Until a host says otherwise, the documents are those this build made or installed.
std::string SystemPaths::resourcesDirectory() const {
    std::lock_guard lock(mutex_);
    return resources_.empty() ? defaultResourcesDirectory() : resources_;
}

std::string SystemPaths::root() const {
    std::lock_guard lock(mutex_);
    return root_;
}

std::string SystemPaths::home() const {
    std::lock_guard lock(mutex_);
    return home_;
}

std::string SystemPaths::resolve(const std::string& absolutePath) const {
    return join(root(), absolutePath);
}

std::string SystemPaths::inHome(const std::string& relativePath) const {
    return join(home(), relativePath);
}

// A line of user-dirs.dirs reads XDG_DOWNLOAD_DIR="$HOME/Downloads"; the value is either
// "$HOME/..." or an absolute path.
std::string SystemPaths::downloadsDirectory() const {
    std::ifstream dirs(inHome(".config/user-dirs.dirs"));
    const std::string key = "XDG_DOWNLOAD_DIR=";
    for (std::string line; std::getline(dirs, line);) {
        if (line.rfind(key, 0) != 0)
            continue;
        std::string value = line.substr(key.size());
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (value.rfind("$HOME", 0) == 0)
            return withoutTrailingSlash(inHome(value.substr(5)));
        if (!value.empty() && value.front() == '/')
            return withoutTrailingSlash(value);
    }
    return inHome("Downloads");
}

std::string SystemPaths::temporaryDirectory() const {
    return withoutTrailingSlash(environmentOr("TMPDIR", "/tmp"));
}

} // namespace core
