#include "dff/PackageHasher.h"

#include "dff/FolderListing.h"
#include "types/UniformTypeTable.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace dff {
namespace {

// Descending byte order; of two names that agree over the shorter length, the longer is greater.
bool descending(const std::string& a, const std::string& b) {
    int compared = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return compared != 0 ? compared > 0 : a.size() > b.size();
}

constexpr long long walkLimit = 10000;

} // namespace

PackageHasher::PackageHasher(Package* package, long long minSize) : package(package), minSize_(minSize) {
    directories_.push_back(package->path());
}

bool PackageHasher::update() {
    if (!calculateDirectories())
        return false;
    if (!calculateFiles())
        return false;
    return calculateSymlinks();
}

void PackageHasher::feed(char tag, const std::string& name, const long long* size) {
    auto length = static_cast<long long>(name.size());
    updateMD5(&tag, 1);
    updateMD5(&length, sizeof length);
    if (size)
        updateMD5(size, sizeof *size);
    updateMD5(name.data(), length);
}

bool PackageHasher::calculateDirectories() {
    if (directories_.empty())
        return true;
    Path folder = std::move(directories_.back());
    directories_.pop_back();
    FolderListing listing(folder);
    if (listing.error())
        throw std::runtime_error("Failed to open directory");
    std::vector<std::string> fileNames, linkNames, folderNames;
    const char* name;
    EntryKind kind;
    while (listing.next(name, kind)) {
        if (kind == EntryKind::link)
            linkNames.emplace_back(name);
        else if (kind == EntryKind::file)
            fileNames.emplace_back(name);
        else if (kind == EntryKind::folder)
            folderNames.emplace_back(name);
        else
            throw std::runtime_error("Unknown file type");
    }
    for (auto* names : {&fileNames, &linkNames, &folderNames})
        std::sort(names->begin(), names->end(), descending);
    auto sized = [&](const std::vector<std::string>& names, char tag, std::deque<File>& into) {
        for (const auto& entry : names) {
            FileStatus status;
            if (listing.status(entry.c_str(), status) != 0)
                throw std::runtime_error("Failed to read file info");
            package->size += status.size;
            feed(tag, entry, &status.size);
            into.emplace_back(folder / entry, status.size);
        }
    };
    sized(fileNames, 0, files_);
    sized(linkNames, 1, symlinks_);
    for (const auto& entry : folderNames) {
        feed(2, entry, nullptr);
        directories_.push_back(folder / entry);
    }
    if (!directories_.empty())
        return false;
    if (package->size < minSize_)
        throw std::runtime_error("Too small");
    return true;
}

bool PackageHasher::calculateFiles() {
    if (files_.empty())
        return true;
    auto& file = files_.back();
    if (file.size != 0) {
        if (!reader_)
            reader_ = std::make_unique<FileReader>(&file.path, file.size);
        if (!reader_->read([this](const char* data, long long size) { updateMD5(data, size); }))
            return false;
        reader_.reset();
    }
    files_.pop_back();
    return files_.empty();
}

bool PackageHasher::calculateSymlinks() {
    if (symlinks_.empty())
        return true;
    auto& link = symlinks_.back();
    if (!digestLinkText(link.path, link.size, *this))
        throw std::runtime_error("Failed to read symbolic link");
    symlinks_.pop_back();
    return symlinks_.empty();
}

bool isPackagePath(const char* path) {
    const char* name = std::strrchr(path, '/');
    name = name ? name + 1 : path;
    const char* dot = std::strrchr(name, '.');
    if (dot && dot != name && typetable::packageTypeForExtension(dot + 1))
        return true;
    FileStatus status;
    return statusOf(Path(std::string(path) + "/Contents/Info.plist"), status, true) == 0;
}

long long packageFileSize(const Path& path) {
    long long bytes = 0, entries = 0;
    std::vector<Path> folders = {path};
    while (!folders.empty()) {
        Path folder = std::move(folders.back());
        folders.pop_back();
        FolderListing listing(folder);
        if (listing.error())
            return 0;
        const char* name;
        EntryKind kind;
        while (listing.next(name, kind)) {
            if (++entries > walkLimit)
                return 0;
            FileStatus status;
            if (kind == EntryKind::folder)
                folders.push_back(folder / name);
            else if ((kind == EntryKind::file || kind == EntryKind::link) &&
                     listing.status(name, status) == 0)
                bytes += status.size;
        }
    }
    return bytes > entries ? bytes : 0;
}

} // namespace dff
