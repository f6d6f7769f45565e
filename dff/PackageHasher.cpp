#include "dff/PackageHasher.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace dff {
namespace {

// Descending byte order; of two names that agree over the shorter length, the longer is greater.
bool descending(const std::string& a, const std::string& b) {
    int compared = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return compared != 0 ? compared > 0 : a.size() > b.size();
}

constexpr std::array<const char*, 24> packageExtensions = {
    "app",        "bundle",   "framework",   "plugin",    "kext",         "photoslibrary",
    "pkg",        "mpkg",     "rtfd",        "xcodeproj", "xcarchive",    "xcworkspace",
    "playground", "prefpane", "qlgenerator", "saver",     "sparsebundle", "photolibrary",
    "fcpbundle",  "logicx",   "band",        "pages",     "numbers",      "key"};

constexpr long long walkLimit = 10000;

} // namespace

PackageHasher::PackageHasher(Package* package, long long minSize) : package(package), minSize_(minSize) {
    directories_.push_back(package->path);
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
    DIR* dir = ::opendir(folder.cStr());
    if (!dir)
        throw std::runtime_error("Failed to open directory");
    std::vector<std::string> fileNames, linkNames, folderNames;
    while (dirent* entry = ::readdir(dir)) {
        if (entry->d_type == DT_LNK)
            linkNames.emplace_back(entry->d_name);
        else if (entry->d_type == DT_REG)
            fileNames.emplace_back(entry->d_name);
        else if (entry->d_type == DT_DIR) {
            if (!specialDirectory(entry))
                folderNames.emplace_back(entry->d_name);
        } else {
            ::closedir(dir);
            throw std::runtime_error("Unknown file type");
        }
    }
    ::closedir(dir);
    for (auto* names : {&fileNames, &linkNames, &folderNames})
        std::sort(names->begin(), names->end(), descending);
    auto sized = [&](const std::vector<std::string>& names, char tag, std::deque<File>& into) {
        for (const auto& name : names) {
            Path path = folder / name;
            struct stat info {};
            if (::lstat(path.cStr(), &info) != 0)
                throw std::runtime_error("Failed to read file info");
            long long size = info.st_size;
            package->size += size;
            feed(tag, name, &size);
            into.emplace_back(std::move(path), size);
        }
    };
    sized(fileNames, 0, files_);
    sized(linkNames, 1, symlinks_);
    for (const auto& name : folderNames) {
        feed(2, name, nullptr);
        directories_.push_back(folder / name);
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
    static char* buffer = new char[1024];
    auto& link = symlinks_.back();
    ssize_t length = ::readlink(link.path.cStr(), buffer, 1024);
    if (length != link.size)
        throw std::runtime_error("Failed to read symbolic link");
    symlinks_.pop_back();
    updateMD5(buffer, length);
    return symlinks_.empty();
}

bool isPackagePath(const char* path) {
    const char* name = std::strrchr(path, '/');
    name = name ? name + 1 : path;
    const char* dot = std::strrchr(name, '.');
    if (dot && dot != name)
        for (const char* extension : packageExtensions)
            if (::strcasecmp(dot + 1, extension) == 0)
                return true;
    struct stat info {};
    return ::stat((std::string(path) + "/Contents/Info.plist").c_str(), &info) == 0;
}

long long packageFileSize(const Path& path) {
    long long bytes = 0, entries = 0;
    std::vector<std::string> folders = {path.str()};
    while (!folders.empty()) {
        std::string folder = std::move(folders.back());
        folders.pop_back();
        DIR* dir = ::opendir(folder.c_str());
        if (!dir)
            return 0;
        while (dirent* entry = ::readdir(dir)) {
            if (specialDirectory(entry))
                continue;
            if (++entries > walkLimit) {
                ::closedir(dir);
                return 0;
            }
            std::string child = folder + "/" + entry->d_name;
            struct stat info {};
            if (::lstat(child.c_str(), &info) != 0)
                continue;
            if (S_ISDIR(info.st_mode))
                folders.push_back(std::move(child));
            else if (S_ISREG(info.st_mode) || S_ISLNK(info.st_mode))
                bytes += info.st_size;
        }
        ::closedir(dir);
    }
    return bytes > entries ? bytes : 0;
}

} // namespace dff
