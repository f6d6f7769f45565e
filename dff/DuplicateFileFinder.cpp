#include "dff/DuplicateFileFinder.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <strings.h>
#include <sys/stat.h>
#include <unordered_set>

namespace dff {
namespace {

constexpr double scannedProgress = 0.3;
constexpr double filesHashedProgress = 0.5;

} // namespace

DuplicateFileFinder::DuplicateFileFinder(std::function<void(double)> progress,
                                         std::function<void(const Path&)> currentPath)
    : progress_(std::move(progress)), currentPath_(std::move(currentPath)) {}

void DuplicateFileFinder::releaseFiles() {
    directories_.clear();
    libraries_.clear();
}

void DuplicateFileFinder::find(Groups& duplicates, Groups& similar, bool isOnlyDuplicates) {
    stopped = false;
    Duplicate<long long, File*> files;
    Duplicate<long long, Symlink*> links;
    Duplicate<long long, Package*> packages;
    std::deque<Package*> unknownSizePackages;
    int fileCount = 1;
    for (const auto& root : rootFolders)
        directories_.emplace_back(scanFiles(root, files, links, packages, unknownSizePackages, fileCount));
    progress_(scannedProgress);

    Duplicate<ImageHashValue, File*> images;
    Duplicate<HashValue, File*> fileHashes;
    double step = 0.2 / fileCount;
    findDuplicateFiles(files, images, fileHashes, step);
    if (stopped)
        markUnfinished(files, fileHashes);
    progress_(filesHashedProgress);
    if (!isOnlyDuplicates) {
        findSimilarFiles(images, similar);
        progress_(0.55);
    }
    findDuplicateLinks(links);
    progress_(0.6);
    Duplicate<HashValue, Package*> packageHashes;
    findDuplicatePackages(packages, unknownSizePackages, packageHashes);
    progress_(0.8);
    Duplicate<HashValue, Directory*> directoryHashes;
    for (const auto& root : directories_)
        findDuplicateDirectories(*root, directoryHashes);
    markDuplicateContainers(directoryHashes);
    progress_(0.9);
    filter(fileHashes, duplicates);
    filter(packageHashes, duplicates);
    filter(directoryHashes, duplicates);
}

Directory* DuplicateFileFinder::scanFiles(const Path& root, Duplicate<long long, File*>& files,
                                          Duplicate<long long, Symlink*>& links,
                                          Duplicate<long long, Package*>& packages,
                                          std::deque<Package*>& unknownSizePackages, int& fileCount) {
    auto* top = new Directory(root, nullptr);
    if (stopped)
        return top;
    std::vector<Directory*> stack = {top};
    while (!stack.empty()) {
        Directory* folder = stack.back();
        stack.pop_back();
        if (stopped) {
            folder->unique = true;
            return top;
        }
        DIR* dir = ::opendir(folder->path.cStr());
        if (!dir) {
            folder->unique = true;
            continue;
        }
        // Anything left out makes the folder's contents not fully known: it can be no duplicate.
        auto skip = [folder] { folder->unique = true; };
        while (dirent* entry = ::readdir(dir)) {
            if (stopped) {
                folder->unique = true;
                ::closedir(dir);
                return top;
            }
            struct stat info {};
            switch (entry->d_type) {
            case DT_LNK: {
                Path path = folder->path / entry->d_name;
                notifyCurrentPath(path);
                if (::lstat(path.cStr(), &info) != 0 || info.st_size < minFileSize) {
                    skip();
                    break;
                }
                auto link = std::make_shared<Symlink>(std::move(path), info.st_size, folder);
                links.add(info.st_size, link.get());
                folder->entries.push_back(std::move(link));
                break;
            }
            case DT_REG: {
                if (std::strcmp(entry->d_name, ".DS_Store") == 0)
                    break;
                if (exclude(entry)) {
                    skip();
                    break;
                }
                Path path = folder->path / entry->d_name;
                notifyCurrentPath(path);
                if (::lstat(path.cStr(), &info) != 0 || info.st_size < minFileSize) {
                    skip();
                    break;
                }
                auto file = std::make_shared<File>(std::move(path), info.st_size, folder);
                files.add(info.st_size, file.get());
                folder->entries.push_back(std::move(file));
                ++fileCount;
                break;
            }
            case DT_DIR: {
                if (specialDirectory(entry))
                    break;
                Path path = folder->path / entry->d_name;
                notifyCurrentPath(path);
                if (isPackage(path.cStr())) {
                    if (exclude(entry)) {
                        skip();
                        break;
                    }
                    long long size = packageFileSize(path);
                    if (size != 0 && size < minFileSize) {
                        skip();
                        break;
                    }
                    auto package = std::make_shared<Package>(std::move(path), folder);
                    if (size != 0)
                        packages.add(size, package.get());
                    else
                        unknownSizePackages.push_back(package.get());
                    folder->entries.push_back(std::move(package));
                    break;
                }
                if ((!includeHiddenFolders && entry->d_name[0] == '.') || exclude(path)) {
                    skip();
                    break;
                }
                auto child = std::make_shared<Directory>(std::move(path), folder);
                stack.push_back(child.get());
                folder->entries.push_back(std::move(child));
                break;
            }
            default:
                skip();
            }
        }
        ::closedir(dir);
    }
    return top;
}

bool DuplicateFileFinder::withExtension(const char* name, unsigned long nameLength,
                                        const std::string& extension) const {
    if (extension.size() >= nameLength)
        return false;
    return ::strncasecmp(name + nameLength - extension.size(), extension.c_str(), extension.size()) == 0;
}

bool DuplicateFileFinder::exclude(const dirent* entry) const {
    unsigned long length = std::strlen(entry->d_name);
    return std::any_of(excludeExtensions.begin(), excludeExtensions.end(), [&](const std::string& extension) {
        return withExtension(entry->d_name, length, extension);
    });
}

bool DuplicateFileFinder::exclude(const Path& path) const {
    return std::any_of(excludePaths.begin(), excludePaths.end(), [&](const Path& excluded) {
        return excluded.length() == path.length() && ::strcasecmp(excluded.cStr(), path.cStr()) == 0;
    });
}

// At most one call per 40 milliseconds of processor time, whatever the number of entries.
void DuplicateFileFinder::notifyCurrentPath(const Path& path) const {
    static std::clock_t last = 0;
    std::clock_t now = std::clock();
    if (static_cast<double>(now - last) / CLOCKS_PER_SEC < 0.04)
        return;
    last = now;
    currentPath_(path);
}

// Files a stop left in the race have no digest: without the mark, folders of equally sized files
// would compare equal on the empty digests.
void DuplicateFileFinder::markUnfinished(Duplicate<long long, File*>& bySize,
                                         Duplicate<HashValue, File*>& byHash) const {
    std::unordered_set<const File*> finished;
    for (auto node = byHash.begin(); !node.done(); ++node)
        finished.insert(node->values.begin(), node->values.end());
    for (auto node = bySize.begin(); !node.done(); ++node)
        for (File* file : node->values)
            if (!finished.count(file))
                file->unique = true;
}

void DuplicateFileFinder::advance(double& value, double step) const {
    value = std::min(value + step, filesHashedProgress);
    progress_(value);
}

// Perceptual hashing of images arrives with the image similarity work: until then no file has an
// image digest, and similarity finds no groups.
void DuplicateFileFinder::calcImageHash(File*, Duplicate<ImageHashValue, File*>&) const {}

void DuplicateFileFinder::findSimilarFiles(Duplicate<ImageHashValue, File*>&, Groups&) const {}

void DuplicateFileFinder::findDuplicateFiles(Duplicate<long long, File*>& bySize,
                                             Duplicate<ImageHashValue, File*>& images,
                                             Duplicate<HashValue, File*>& byHash, double& step) const {
    if (stopped)
        return;
    double value = scannedProgress;
    std::deque<RaceGroup> groups;
    for (auto node = bySize.begin(); !node.done(); ++node) {
        if (node->values.size() == 1) {
            if (stopped)
                return;
            File* file = node->values.front();
            calcImageHash(file, images);
            advance(value, step);
            file->unique = true;
            continue;
        }
        RaceGroup group;
        for (File* file : node->values) {
            group.push_back(std::make_unique<RacingFile>(file));
            if (stopped)
                return;
        }
        groups.push_back(std::move(group));
    }
    auto deliver = [&](const RaceOutcome& outcome) {
        File* file = outcome.file;
        if (outcome.kind == RaceOutcome::finished) {
            byHash.add(file->hash, file);
            return;
        }
        calcImageHash(file, images);
        file->unique = true;
    };
    // One step per file and stage, as the stages begin.
    auto begun = [&](unsigned long count, const File& latest) {
        notifyCurrentPath(latest.path);
        while (count-- > 0)
            advance(value, step);
    };
    SizeGroupRace(std::move(groups), stopped).run(threads, deliver, begun);
    for (auto node = byHash.begin(); !node.done(); ++node) {
        if (stopped)
            return;
        if (node->values.size() == 1)
            node->values.front()->unique = true;
    }
}

void DuplicateFileFinder::findDuplicateLinks(Duplicate<long long, Symlink*>& bySize) const {
    for (auto node = bySize.begin(); !node.done(); ++node) {
        if (node->values.size() == 1) {
            node->values.front()->unique = true;
            continue;
        }
        Duplicate<HashValue, Symlink*> local;
        for (Symlink* link : node->values) {
            if (hashSymlink(*link, link->hash))
                local.add(link->hash, link);
            else
                link->unique = true;
        }
        for (auto digest = local.begin(); !digest.done(); ++digest)
            if (digest->values.size() == 1)
                digest->values.front()->unique = true;
    }
}

void DuplicateFileFinder::findDuplicatePackages(Duplicate<long long, Package*>& bySize,
                                                std::deque<Package*>& unknownSize,
                                                Duplicate<HashValue, Package*>& byHash) const {
    if (stopped)
        return;
    using Hashers = std::deque<std::unique_ptr<PackageHasher>>;
    std::deque<Hashers> groups;
    // A package of unknown size could equal any other: then all are compared with all.
    if (!unknownSize.empty())
        groups.emplace_back();
    for (auto node = bySize.begin(); !node.done(); ++node) {
        if (unknownSize.empty())
            groups.emplace_back();
        for (Package* package : node->values)
            groups.back().push_back(std::make_unique<PackageHasher>(package, minFileSize));
    }
    for (Package* package : unknownSize)
        groups.back().push_back(std::make_unique<PackageHasher>(package, minFileSize));
    while (!groups.empty()) {
        auto group = std::move(groups.back());
        groups.pop_back();
        Duplicate<HashValue, PackageHasher*> local;
        Hashers racing;
        for (auto& hasher : group) {
            Package* package = hasher->package;
            if (stopped) {
                package->unique = true;
                continue;
            }
            notifyCurrentPath(package->path);
            try {
                bool finished = hasher->update();
                hasher->hashValue(package->hash);
                if (finished) {
                    byHash.add(package->hash, package);
                    continue;
                }
                local.add(package->hash, hasher.get());
                racing.push_back(std::move(hasher));
            } catch (const std::runtime_error&) {
                package->unique = true;
            }
        }
        for (auto node = local.begin(); !node.done(); ++node) {
            if (node->values.size() == 1) {
                node->values.front()->package->unique = true;
                continue;
            }
            groups.push_back(takeRacing(racing, node->values));
        }
    }
    markDuplicateContainers(byHash);
}

void DuplicateFileFinder::findDuplicateDirectories(Directory& root,
                                                   Duplicate<HashValue, Directory*>& byHash) const {
    struct Dir {
        Directory* directory;
        bool enter;
    };
    MD5 digest;
    std::vector<Dir> stack = {{&root, true}};
    while (!stack.empty()) {
        auto& top = stack.back();
        if (top.enter) {
            top.enter = false;
            Directory* folder = top.directory;
            for (const auto& entry : folder->entries) {
                if (entry->unique)
                    folder->unique = true;
                if (auto* child = dynamic_cast<Directory*>(entry.get()))
                    stack.push_back({child, true});
            }
            continue;
        }
        Directory* folder = top.directory;
        stack.pop_back();
        if (folder->unique) {
            if (folder->parent)
                folder->parent->unique = true;
            continue;
        }
        notifyCurrentPath(folder->path);
        std::sort(folder->entries.begin(), folder->entries.end(), [](const auto& a, const auto& b) {
            int typeA = fileTypeId(a.get()), typeB = fileTypeId(b.get());
            if (typeA != typeB)
                return typeA > typeB;
            if (a->size != b->size)
                return a->size > b->size;
            return a->hash > b->hash;
        });
        digest.reset();
        for (const auto& entry : folder->entries) {
            std::int32_t type = fileTypeId(entry.get());
            digest.updateMD5(&type, sizeof type);
            digest.updateMD5(&entry->size, sizeof entry->size);
            digest.updateMD5(&entry->hash, sizeof entry->hash);
            folder->size += entry->size;
        }
        if (folder->size >= minFileSize) {
            digest.hashValue(folder->hash);
            byHash.add(folder->hash, folder);
        }
    }
}

template <class T> void DuplicateFileFinder::markDuplicateContainers(Duplicate<HashValue, T*>& byHash) const {
    for (auto node = byHash.begin(); !node.done(); ++node) {
        if (node->values.size() == 1) {
            node->values.front()->unique = true;
            continue;
        }
        for (T* container : node->values)
            container->duplicate = true;
    }
}

template <class T> void DuplicateFileFinder::filter(Duplicate<HashValue, T*>& byHash, Groups& result) const {
    for (auto node = byHash.begin(); !node.done(); ++node) {
        if (node->values.size() < 2)
            continue;
        bool allInsideDuplicates = std::all_of(node->values.begin(), node->values.end(), [](const T* value) {
            return value->parent && value->parent->duplicate;
        });
        if (allInsideDuplicates)
            continue;
        result.emplace_back(node->values.begin(), node->values.end());
    }
}

template void DuplicateFileFinder::markDuplicateContainers(Duplicate<HashValue, Directory*>&) const;
template void DuplicateFileFinder::markDuplicateContainers(Duplicate<HashValue, Package*>&) const;
template void DuplicateFileFinder::filter(Duplicate<HashValue, File*>&, Groups&) const;
template void DuplicateFileFinder::filter(Duplicate<HashValue, Package*>&, Groups&) const;
template void DuplicateFileFinder::filter(Duplicate<HashValue, Directory*>&, Groups&) const;

} // namespace dff
