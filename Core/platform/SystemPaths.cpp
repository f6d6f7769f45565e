#include "Core/platform/SystemPaths.h"
#include "Core/platform/ResourcesLocation.h"

#include "Core/platform/ConfinedPath.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/UserDirs.h"

#include <algorithm>
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

// Reads one byte more than a user-dirs file may hold, so that an oversized file is read no further
// and still refused as one.
std::string userDirsText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string text(userDirsSizeLimit + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return text;
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
    return resolveUnder(root(), absolutePath);
}

std::string SystemPaths::inHome(const std::string& relativePath) const {
    std::string top = root();
    std::string homeFolder = home();
    if (top == "/" || !isSameOrBelow(homeFolder, top))
        return join(homeFolder, relativePath);
    return resolveUnder(top, join(homeFolder.substr(top.size()), relativePath));
}

// On the machine's own root the links are the machine's: the path is used as named.
std::string SystemPaths::resolveUnder(const std::string& top, const std::string& absolutePath) {
    if (top == "/")
        return join(top, absolutePath);
    return resolveInside(top, absolutePath, Escape::clamp).value_or(join(unreachableFolder, absolutePath));
}

std::optional<std::string> SystemPaths::realPath(const std::string& path) const {
    std::string top = root();
    if (top == "/" || !isSameOrBelow(path, top))
        return canonicalPath(path);
    auto resolved = resolveInside(top, path.substr(top.size()), Escape::clamp);
    if (!resolved || !fileStatus(*resolved, LinkHandling::follow))
        return std::nullopt;
    return resolved;
}

SystemPaths::DownloadsFolder SystemPaths::downloadsFolder() const {
    std::string homeFolder = home();
    std::string fallback = inHome("Downloads");
    auto named = userDirsDownloadFolder(userDirsText(inHome(".config/user-dirs.dirs")));
    if (!named)
        return {fallback, {}};
    std::optional<std::string> resolved;
    if (named->inHome)
        resolved = resolveInside(homeFolder, named->path, Escape::refuse);
    else if (isSameOrBelow(named->path, homeFolder))
        resolved = resolveInside(homeFolder, named->path.substr(homeFolder == "/" ? 0 : homeFolder.size()),
                                 Escape::refuse);
    std::string refused = named->inHome ? "$HOME" + named->path : named->path;
    if (!resolved || *resolved == homeFolder)
        return {fallback, refused};
    return {*resolved, {}};
}

// The host's $TMPDIR belongs to the machine that runs the scan; on a volume being cleaned what
// stands for the temporary folder is the volume's own "/tmp".
std::string SystemPaths::temporaryDirectory() const {
    std::string top = root();
    if (top != "/")
        return resolve("/tmp");
    return withoutTrailingSlash(environmentOr("TMPDIR", "/tmp"));
}

} // namespace core
