#include "Core/platform/SystemPaths.h"

#include <cstdlib>

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
    return base == "/" ? "/" + relative.substr(skip) : base + "/" + relative.substr(skip);
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

std::string SystemPaths::temporaryDirectory() const {
    return withoutTrailingSlash(environmentOr("TMPDIR", "/tmp"));
}

} // namespace core
