#include "Core/foundation/FileManager.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/TrashDirectories.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace core {
namespace {

URLResourceValues valuesFromStat(const struct stat& info, URLResourceKeys keys) {
    URLResourceValues values;
    bool folder = isFolder(info.st_mode);
    std::int64_t allocated = static_cast<std::int64_t>(info.st_blocks) * 512;
    if ((keys & URLFileSizeKey) && !folder)
        values.fileSize = info.st_size;
    if (keys & URLIsDirectoryKey)
        values.isDirectory = folder;
    if ((keys & URLFileAllocatedSizeKey) && !folder)
        values.fileAllocatedSize = allocated;
    if ((keys & URLTotalFileAllocatedSizeKey) && !folder)
        values.totalFileAllocatedSize = allocated;
    return values;
}

constexpr URLResourceKeys sizeKeys =
    URLFileSizeKey | URLIsDirectoryKey | URLFileAllocatedSizeKey | URLTotalFileAllocatedSizeKey;

std::int64_t folderSize(const URL& url) {
    auto context = FileFinderContext::current();
    if (context && context->interrupted())
        return 0;
    if (context)
        context->urlObservable().update([&] { return url; });
    // The helper answers for folders this process may not read; until it is connected, what could
    // be read is the answer.
    return GetDirectorySize(url.path().c_str(), context ? &context->interruptedFlag() : nullptr, nullptr);
}

// A file of the cloud drive may be a placeholder whose nominal size is not on the disk, so it
// counts what it really takes up.
std::optional<std::int64_t> cloudDriveSize(const URL& url, const URLResourceValues& values) {
    if (!isICloudFile(url.path()))
        return std::nullopt;
    if (values.isDirectory.value_or(false))
        return folderSize(url);
    struct stat info {};
    if (getFileInfo(url.path().c_str(), &info) != 0)
        return std::nullopt;
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

} // namespace

std::optional<URLResourceValues> resourceValues(const URL& url, URLResourceKeys keys,
                                                std::error_code& error) {
    struct stat info {};
    if (getFileInfo(url.path().c_str(), &info) != 0) {
        error = std::error_code(errno, std::generic_category());
        return std::nullopt;
    }
    auto values = valuesFromStat(info, keys);
    values.name = url.lastPathComponent();
    return values;
}

std::int64_t size(const URL& url, const URLResourceValues& values) {
    if (auto cloud = cloudDriveSize(url, values))
        return *cloud;
    if (values.fileSize)
        return *values.fileSize;
    if (values.isDirectory.value_or(false))
        return folderSize(url);
    return 0;
}

std::int64_t size(const URL& url) {
    std::error_code error;
    auto values = resourceValues(url, sizeKeys, error);
    return values ? size(url, *values) : 0;
}

bool isTrashBinPath(const std::string& path) {
    auto trashes = trashDirectoriesIncludingICloud();
    return std::find(trashes.begin(), trashes.end(), path) != trashes.end();
}

std::vector<URLResource> urlResources(const URL& url, URLResourceKeys keys, std::error_code& error) {
    auto context = FileFinderContext::current();
    if (context && context->interrupted())
        return {};
    if (context)
        context->urlObservable().update([&] { return url; });

    std::unique_ptr<DIR, DirCloser> dir(::opendir(url.path().c_str()));
    if (!dir) {
        error = std::error_code(errno, std::generic_category());
        return {};
    }
    std::vector<URLResource> resources;
    bool needsStat = (keys & ~URLResourceKeys{URLNameKey}) != 0;
    while (dirent* entry = ::readdir(dir.get())) {
        if (context && context->interrupted())
            break;
        std::string name = entry->d_name;
        if (name == "." || name == ".." || name == ".DS_Store")
            continue;
        URLResourceValues values;
        if (needsStat) {
            struct stat info {};
            if (::fstatat(::dirfd(dir.get()), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
                // An entry removed since it was listed is simply gone; anything else fails the
                // listing, as the caller cannot tell what it missed.
                if (errno == ENOENT)
                    continue;
                error = std::error_code(errno, std::generic_category());
                return resources;
            }
            values = valuesFromStat(info, keys);
        }
        values.name = name;
        resources.push_back({url.appendingPathComponent(name), std::move(values)});
    }
    return resources;
}

} // namespace core
