#include "Core/foundation/FileManager.h"

#include "Core/foundation/Analytics.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/FolderReader.h"
#include "Core/platform/TrashDirectories.h"

#include <algorithm>
#include <cerrno>

namespace core {
namespace {

URLResourceValues valuesFromStatus(const FileStatus& info, URLResourceKeys keys) {
    URLResourceValues values;
    bool folder = info.isFolder();
    std::int64_t allocated = info.allocatedSize;
    if ((keys & URLFileSizeKey) && !folder)
        values.fileSize = info.size;
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
    // be read is the answer, and what could not is said.
    return directorySize(url.path().c_str(), context ? &context->interruptedFlag() : nullptr,
                         [](const std::string& path, int error) {
                             if (error != ENOENT)
                                 reportUnreadableFolder(path, error);
                         });
}

// A file of the cloud drive may be a placeholder whose nominal size is not on the disk, so it
// counts what it really takes up.
std::optional<std::int64_t> cloudDriveSize(const URL& url, const URLResourceValues& values) {
    if (!isICloudFile(url.path()))
        return std::nullopt;
    if (values.isDirectory.value_or(false))
        return folderSize(url);
    auto info = fileStatus(url.path());
    if (!info)
        return std::nullopt;
    return info->allocatedSize;
}

} // namespace

std::optional<URLResourceValues> resourceValues(const URL& url, URLResourceKeys keys,
                                                std::error_code& error) {
    int errorNumber = 0;
    auto info = fileStatus(url.path(), LinkHandling::keep, &errorNumber);
    if (!info) {
        error = std::error_code(errorNumber, std::generic_category());
        return std::nullopt;
    }
    auto values = valuesFromStatus(*info, keys);
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

void reportUnreadableFolder(const std::string& path, int error) {
    analytics()->log(
        std::string(unreadableFolderLogLine) + " errno=" + std::to_string(error) + " path=" + path, 3);
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

    FolderReader folder(url.path());
    if (folder.error()) {
        error = std::error_code(folder.error(), std::generic_category());
        return {};
    }
    std::vector<URLResource> resources;
    bool needsStatus = (keys & ~URLResourceKeys{URLNameKey}) != 0;
    while (auto entry = folder.next()) {
        if (context && context->interrupted())
            break;
        if (entry->name == ".DS_Store")
            continue;
        URLResourceValues values;
        if (needsStatus) {
            int errorNumber = 0;
            auto info = folder.status(entry->name, &errorNumber);
            if (!info) {
                // An entry removed since it was listed is simply gone; anything else fails the
                // listing, as the caller cannot tell what it missed.
                if (errorNumber == ENOENT)
                    continue;
                error = std::error_code(errorNumber, std::generic_category());
                return resources;
            }
            values = valuesFromStatus(*info, keys);
        }
        values.name = entry->name;
        resources.push_back({url.appendingPathComponent(entry->name), std::move(values)});
    }
    if (folder.error())
        error = std::error_code(folder.error(), std::generic_category());
    return resources;
}

} // namespace core
