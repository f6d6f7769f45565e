#include "dff/DuplicateFileFinder.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <strings.h>
#include <unordered_set>

namespace dff {
namespace {

constexpr double scannedProgress = 0.3;
constexpr double filesHashedProgress = 0.5;
constexpr auto pathNoticeInterval = std::chrono::milliseconds(40);

// Whether `inner` is `outer` or lies below it.
bool within(const std::string& inner, const std::string& outer) {
    if (outer == "/")
        return true;
    return inner.compare(0, outer.size(), outer) == 0 &&
           (inner.size() == outer.size() || inner[outer.size()] == '/');
}

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
    std::vector<Package*> unknownSizePackages;
    int fileCount = 1;
    {
        // The walk's record of folders lives in blocks of its own, given back whole when the walk
        // ends, rather than in small pieces between the entries that stay.
        std::pmr::monotonic_buffer_resource blocks;
        visited_.emplace(&blocks);
        for (const auto& root : searchRoots())
            directories_.emplace_back(
                scanFiles(root, files, links, packages, unknownSizePackages, fileCount));
        visited_.reset();
    }
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

// Each root once, by its real path, and none that lies inside another: a folder searched twice
// would be reported as a duplicate of itself.
std::vector<Path> DuplicateFileFinder::searchRoots() {
    // The walk meets real paths only, so exclusions are compared as real paths too.
    for (auto& excluded : excludePaths)
        excluded = canonicalPath(excluded).value_or(excluded);
    std::vector<Path> given;
    for (const auto& root : rootFolders)
        given.push_back(canonicalPath(root).value_or(root));
    std::vector<Path> roots;
    nestedRoots_.clear();
    for (std::size_t i = 0; i < given.size(); ++i) {
        bool nested = false;
        for (std::size_t j = 0; j < given.size() && !nested; ++j)
            nested = j != i && within(given[i].str(), given[j].str()) &&
                     (given[i].length() != given[j].length() || j < i);
        (nested ? nestedRoots_ : roots).push_back(given[i]);
    }
    return roots;
}

Directory* DuplicateFileFinder::scanFiles(const Path& root, Duplicate<long long, File*>& files,
                                          Duplicate<long long, Symlink*>& links,
                                          Duplicate<long long, Package*>& packages,
                                          std::vector<Package*>& unknownSizePackages, int& fileCount) {
    auto* top = new Directory(root, nullptr);
    Gathered into{files, links, packages, unknownSizePackages, fileCount};
    std::vector<Directory*> stack = {top};
    while (!stack.empty() && !stopped) {
        Directory* folder = stack.back();
        stack.pop_back();
        if (!scanFolder(*folder, stack, into))
            break;
    }
    // Folders a stop left unlisted are not fully known.
    for (Directory* folder : stack)
        folder->unique = true;
    return top;
}

// Lists one folder into its entries and the stack; false when a stop cut the listing short.
bool DuplicateFileFinder::scanFolder(Directory& folder, std::vector<Directory*>& stack, Gathered& into) {
    Listed here(folder);
    if (here.listing.error()) {
        skip(folder, "list_failed", here.path, here.listing.error());
        return true;
    }
    FileStatus self;
    if (here.listing.status(self) == 0 && !firstVisit(folder, self, here.path))
        return true;
    const char* name;
    EntryKind kind;
    while (here.listing.next(name, kind)) {
        if (stopped) {
            folder.unique = true;
            return false;
        }
        if (kind == EntryKind::folder)
            addFolder(here, name, stack, into);
        else if (kind == EntryKind::other)
            skip(folder, "not_a_file", here.path / name, 0);
        else
            addFileOrLink(here, name, kind, into);
    }
    return true;
}

void DuplicateFileFinder::addFileOrLink(Listed& here, const char* name, EntryKind kind, Gathered& into) {
    // The folder stays eligible without it: it is the desktop's own record of the window.
    if (kind == EntryKind::file && std::strcmp(name, ".DS_Store") == 0)
        return;
    if (kind == EntryKind::file && exclude(name)) {
        here.folder.unique = true;
        return;
    }
    Path path = here.path / name;
    auto status = keptStatus(here, name, path);
    if (!status)
        return;
    if (kind == EntryKind::link) {
        auto* link = new Symlink(path, status->size, &here.folder);
        here.folder.entries.emplace_back(link);
        into.links.add(status->size, link);
        return;
    }
    auto* file = new File(path, status->size, &here.folder);
    here.folder.entries.emplace_back(file);
    into.files.add(status->size, file);
    ++into.fileCount;
}

// The status of a file or link the walk keeps; nothing, and the folder marked, when it is not kept.
std::optional<FileStatus> DuplicateFileFinder::keptStatus(Listed& here, const char* name,
                                                          const Path& path) const {
    notifyCurrentPath(path);
    FileStatus status;
    if (int error = here.listing.status(name, status)) {
        skip(here.folder, "stat_failed", path, error);
        return std::nullopt;
    }
    if (status.size < minFileSize) {
        here.folder.unique = true;
        return std::nullopt;
    }
    return status;
}

void DuplicateFileFinder::addFolder(Listed& here, const char* name, std::vector<Directory*>& stack,
                                    Gathered& into) {
    Path path = here.path / name;
    notifyCurrentPath(path);
    if (isPackage(path.cStr())) {
        addPackage(here, name, path, into);
        return;
    }
    bool askedFor = std::any_of(nestedRoots_.begin(), nestedRoots_.end(),
                                [&](const Path& root) { return root.str() == path.str(); });
    if ((!includeHiddenFolders && name[0] == '.' && !askedFor) || exclude(path)) {
        here.folder.unique = true;
        return;
    }
    auto* child = new Directory(path, &here.folder);
    here.folder.entries.emplace_back(child);
    stack.push_back(child);
}

void DuplicateFileFinder::addPackage(Listed& here, const char* name, const Path& path, Gathered& into) {
    if (exclude(name)) {
        here.folder.unique = true;
        return;
    }
    FileStatus status;
    if (int error = here.listing.status(name, status)) {
        skip(here.folder, "stat_failed", path, error);
        return;
    }
    if (!firstVisit(here.folder, status, path))
        return;
    long long size = packageFileSize(path);
    if (size != 0 && size < minFileSize) {
        here.folder.unique = true;
        return;
    }
    auto* package = new Package(path, &here.folder);
    here.folder.entries.emplace_back(package);
    if (size != 0)
        into.packages.add(size, package);
    else
        into.unknownSizePackages.push_back(package);
}

// False, and `folder` marked, when the walk has met this folder or package before.
bool DuplicateFileFinder::firstVisit(Directory& folder, const FileStatus& status, const Path& path) {
    if (visited_->insert(fileIDOf(status)).second)
        return true;
    skip(folder, "seen_before", path, 0);
    return false;
}

// Anything left out makes the folder's contents not fully known: it can be no duplicate.
void DuplicateFileFinder::skip(Directory& folder, const char* event, const Path& path, int error) const {
    folder.unique = true;
    note(event, path, error != 0 ? " errno=" + std::to_string(error) : std::string());
}

void DuplicateFileFinder::note(const char* event, const Path& path, const std::string& detail) const {
    if (log)
        log(std::string("[DuplicateScan] ") + event + " path=" + path.str() + detail);
}

bool DuplicateFileFinder::withExtension(const char* name, unsigned long nameLength,
                                        const std::string& extension) const {
    if (extension.size() >= nameLength)
        return false;
    return ::strncasecmp(name + nameLength - extension.size(), extension.c_str(), extension.size()) == 0;
}

bool DuplicateFileFinder::exclude(const char* name) const {
    unsigned long length = std::strlen(name);
    return std::any_of(excludeExtensions.begin(), excludeExtensions.end(),
                       [&](const std::string& extension) { return withExtension(name, length, extension); });
}

bool DuplicateFileFinder::exclude(const Path& path) const {
    return std::any_of(excludePaths.begin(), excludePaths.end(), [&](const Path& excluded) {
        return excluded.length() == path.length() && ::strcasecmp(excluded.cStr(), path.cStr()) == 0;
    });
}

// At most one call per 40 milliseconds of this finder's search, whatever the number of entries and
// of threads: wall time, as the user sees it, not the processor time of all threads together.
void DuplicateFileFinder::notifyCurrentPath(const Path& path) const {
    if (pathNoticeDue())
        currentPath_(path);
}

void DuplicateFileFinder::notifyCurrentPath(const File& entry) const {
    if (pathNoticeDue())
        currentPath_(entry.path());
}

bool DuplicateFileFinder::pathNoticeDue() const {
    auto now = std::chrono::steady_clock::now();
    if (now - lastPathNotice_ < pathNoticeInterval)
        return false;
    lastPathNotice_ = now;
    return true;
}

// On purpose, files a stop left in the race count as unique: folders must never match on
// half-read digests.
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
    std::vector<const SizeGroup*> groups;
    for (auto node = bySize.begin(); !node.done(); ++node) {
        if (stopped)
            return;
        if (node->values.size() > 1) {
            groups.push_back(&node->values);
            continue;
        }
        File* file = node->values.front();
        calcImageHash(file, images);
        advance(value, step);
        file->unique = true;
    }
    auto deliver = [&](const RaceOutcome& outcome) {
        File* file = outcome.file;
        if (outcome.kind == RaceOutcome::finished) {
            byHash.add(file->hash, file);
            return;
        }
        if (outcome.kind == RaceOutcome::unreadable)
            note("read_failed", file->path(), "");
        calcImageHash(file, images);
        file->unique = true;
    };
    // One step per file and stage, as the stages begin.
    auto begun = [&](unsigned long count, const File& latest) {
        notifyCurrentPath(latest);
        while (count-- > 0)
            advance(value, step);
    };
    SizeGroupRace(std::move(groups), stopped).run(threads, deliver, begun);
    for (auto node = byHash.begin(); !node.done(); ++node) {
        if (stopped)
            return;
        if (node->values.size() == 1 || oneFileOnDisk(node->values))
            for (File* file : node->values)
                file->unique = true;
    }
}

// Whether all the files are names of one file on the disk: removing all but one frees nothing.
// Asked of the few files that matched, rather than kept for every file the walk met.
bool DuplicateFileFinder::oneFileOnDisk(const std::vector<File*>& files) const {
    FileStatus first;
    if (statusOf(files.front()->path(), first) != 0 || first.links < 2)
        return false;
    return std::all_of(files.begin() + 1, files.end(), [&](const File* file) {
        FileStatus status;
        return statusOf(file->path(), status) == 0 && fileIDOf(status) == fileIDOf(first);
    });
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
                                                std::vector<Package*>& unknownSize,
                                                Duplicate<HashValue, Package*>& byHash) const {
    if (stopped)
        return;
    using Hashers = std::vector<std::unique_ptr<PackageHasher>>;
    std::vector<Hashers> groups;
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
            notifyCurrentPath(*package);
            try {
                bool finished = hasher->update();
                hasher->hashValue(package->hash);
                if (finished) {
                    byHash.add(package->hash, package);
                    continue;
                }
                local.add(package->hash, hasher.get());
                racing.push_back(std::move(hasher));
            } catch (const std::runtime_error& error) {
                package->unique = true;
                note("package_not_compared", package->path(), std::string(" reason=") + error.what());
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
                if (entry->kind == File::Kind::directory)
                    stack.push_back({static_cast<Directory*>(entry.get()), true});
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
        notifyCurrentPath(*folder);
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
        // Members marked unique are names of one file on the disk, never a group.
        if (node->values.size() < 2 || node->values.front()->unique)
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
