// The duplicate engine's driver: walks the root folders, files every regular file, link and
// package by size, and then finds which of them are identical by staged hashing, marks what has
// no twin, digests folders from their entries, and selects the groups to report.
//
// Threading: find() runs on the calling thread, and so do the callbacks; stop() may come from any
// thread. Files are read and digested on helper threads as well (see SizeGroupRace), but every
// entry is marked and every tree is filled by the calling thread or by the one thread racing it.
#pragma once

#include "dff/Duplicate.h"
#include "dff/FolderListing.h"
#include "dff/PackageHasher.h"
#include "dff/SizeGroupRace.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory_resource>
#include <optional>
#include <unordered_set>
#include <vector>

namespace dff {

// A perceptual image digest; its two words order the similarity groups.
struct ImageHashValue {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    friend bool operator<(const ImageHashValue& a, const ImageHashValue& b) {
        return a.first != b.first ? a.first < b.first : a.second < b.second;
    }
    friend bool operator>(const ImageHashValue& a, const ImageHashValue& b) { return b < a; }
};

using Groups = std::vector<std::vector<File*>>;

class DuplicateFileFinder {
public:
    DuplicateFileFinder(std::function<void(double)> progress, std::function<void(const Path&)> currentPath);

    // Fills `duplicates` with groups of identical files, then packages, then folders; the pointers
    // stay valid until releaseFiles().
    void find(Groups& duplicates, Groups& similar, bool isOnlyDuplicates);
    void stop() { stopped = true; }
    void releaseFiles();

    std::vector<Path> rootFolders;
    std::vector<Path> excludePaths;
    std::vector<std::string> excludeExtensions;
    bool includeHiddenFolders = false;
    long long minFileSize = 0;
    // Size groups race on this many threads; the results do not depend on it.
    unsigned threads = SizeGroupRace::defaultThreads();
    // Hears one line for everything the search could not read or passed over against its will;
    // may be empty.
    std::function<void(const std::string&)> log;

    // Scan phase.
    Directory* scanFiles(const Path& root, Duplicate<long long, File*>& files,
                         Duplicate<long long, Symlink*>& links, Duplicate<long long, Package*>& packages,
                         std::vector<Package*>& unknownSizePackages, int& fileCount);
    bool isPackage(const char* path) const { return isPackagePath(path); }
    bool withExtension(const char* name, unsigned long nameLength, const std::string& extension) const;
    bool exclude(const char* name) const;
    bool exclude(const Path& path) const;
    void notifyCurrentPath(const Path& path) const;
    // The same for an entry, whose path is built only when it is to be told.
    void notifyCurrentPath(const File& entry) const;

    // Match phase.
    void findDuplicateFiles(Duplicate<long long, File*>& bySize, Duplicate<ImageHashValue, File*>& images,
                            Duplicate<HashValue, File*>& byHash, double& step) const;
    void findSimilarFiles(Duplicate<ImageHashValue, File*>& images, Groups& similar) const;
    void findDuplicateLinks(Duplicate<long long, Symlink*>& bySize) const;
    void findDuplicatePackages(Duplicate<long long, Package*>& bySize, std::vector<Package*>& unknownSize,
                               Duplicate<HashValue, Package*>& byHash) const;
    void findDuplicateDirectories(Directory& root, Duplicate<HashValue, Directory*>& byHash) const;
    template <class T> void markDuplicateContainers(Duplicate<HashValue, T*>& byHash) const;
    template <class T> void filter(Duplicate<HashValue, T*>& byHash, Groups& result) const;

private:
    // What the walk gathers for the match phase.
    struct Gathered {
        Duplicate<long long, File*>& files;
        Duplicate<long long, Symlink*>& links;
        Duplicate<long long, Package*>& packages;
        std::vector<Package*>& unknownSizePackages;
        int& fileCount;
    };

    // A folder being listed: its entry, its path, built once for all its entries, and the listing.
    struct Listed {
        explicit Listed(Directory& folder) : folder(folder), path(folder.path()), listing(path) {}
        Directory& folder;
        const Path path;
        FolderListing listing;
    };

    std::vector<Path> searchRoots();
    bool scanFolder(Directory& folder, std::vector<Directory*>& stack, Gathered& into);
    void addFileOrLink(Listed& here, const char* name, EntryKind kind, Gathered& into);
    std::optional<FileStatus> keptStatus(Listed& here, const char* name, const Path& path) const;
    void addFolder(Listed& here, const char* name, std::vector<Directory*>& stack, Gathered& into);
    void addPackage(Listed& here, const char* name, const Path& path, Gathered& into);
    bool firstVisit(Directory& folder, const FileStatus& status, const Path& path);
    void skip(Directory& folder, const char* event, const Path& path, int error) const;
    void note(const char* event, const Path& path, const std::string& detail) const;
    bool pathNoticeDue() const;
    bool oneFileOnDisk(const std::vector<File*>& files) const;
    void calcImageHash(File* file, Duplicate<ImageHashValue, File*>& images) const;
    void advance(double& value, double step) const;
    void markUnfinished(Duplicate<long long, File*>& bySize, Duplicate<HashValue, File*>& byHash) const;

    std::function<void(double)> progress_;
    std::function<void(const Path&)> currentPath_;
    std::vector<std::unique_ptr<Directory>> directories_;
    std::vector<std::unique_ptr<PhotoLibrary>> libraries_;
    std::atomic<bool> stopped{false};
    // Roots that lie inside another root: walked as part of it, and entered even when hidden.
    std::vector<Path> nestedRoots_;
    // The folders and packages the walk has met, so that none is gathered twice, whatever the
    // paths (bind mounts, repeated roots) it is reached by.
    std::optional<std::pmr::unordered_set<FileID, FileIDHash>> visited_;
    mutable std::chrono::steady_clock::time_point lastPathNotice_{};
};

} // namespace dff
