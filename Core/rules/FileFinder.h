// Walks the disk along the matcher forest of one index. It enters only folders that some matcher
// names, lists a folder only when a pattern forces it to, and remembers all it has seen in a tree
// of DirectoryInfo, so that the walks for hundreds of applications in one scan touch each folder
// once. Every claim goes to a callback with its kind, its rule and the owner id the path names.
//
// The walk decides what a rule claims; whose a file is, is the callback's business.
//
// Threading: one walk at a time per FileFinder, on the calling thread, under the caller's
// FileFinderContext. FileInfo::size alone may be filled from other threads.
#pragma once

#include "Core/rules/AppFileRule.h"

#include <functional>
#include <mutex>

namespace core {

struct FileInfo {
    FileInfo(URL url, std::int64_t priority) : url(std::move(url)), priority(priority) {}

    const URL url;
    // The priority of the matcher that claimed it first; only matchers of that priority claim it
    // again.
    const std::int64_t priority;
    // Some application has taken the file.
    bool used = false;

    // The size of the file or folder, measured once, on first request.
    std::int64_t size();

private:
    std::mutex sizeMutex_;
    std::optional<std::int64_t> size_;
};

struct DirectoryInfo;

// What is known of one name in a folder.
struct FileNode {
    enum class State { file, directory, unknown, notExists };
    State state = State::unknown;
    // The name as the disk spells it.
    std::string name;
    std::shared_ptr<FileInfo> file;
    std::shared_ptr<DirectoryInfo> directory;
};

using OwnerID = std::optional<CaseInsensitiveString>;

struct MatchedResult {
    bool files = false;
    std::int64_t priority = 0;
    std::vector<std::pair<OwnerID, std::shared_ptr<FileInfo>>> fileMatches;
    std::vector<std::pair<OwnerID, std::shared_ptr<DirectoryInfo>>> directoryMatches;
};

struct DirectoryInfo {
    explicit DirectoryInfo(URL url) : url(std::move(url)) {}

    const URL url;
    // Listed: a name not in children does not exist.
    bool scanned = false;
    std::unordered_map<CaseInsensitiveString, FileNode> children;
    // The outcome of every pattern already applied here.
    std::unordered_map<Matcher, MatchedResult> matched;
};

class FileFinder {
public:
    explicit FileFinder(const AppFileRule& appFileRule) : appFileRule_(appFileRule) {}

    using Accept = std::function<bool(NodeID)>;
    using Found = std::function<void(const OwnerID& id, const std::shared_ptr<FileInfo>& file,
                                     const AppFileKind& kind, const RuleID& ruleID)>;

    // Walks every root, level by level, through the nodes that `accept` lets through.
    void walk(const Accept& accept, const Found& found);
    // Forgets the tree, so that the next walk sees the disk afresh.
    void clearCache() { cache_.clear(); }

    // Folders listed and names looked up on the disk since the finder was made.
    std::size_t listingCount() const { return listings_; }
    std::size_t lookupCount() const { return lookups_; }

    struct Record {
        std::shared_ptr<FileInfo> file;
        AppFileKind kind;
        App owner;
    };
    // The records as AppFiles with their sizes, in the same order.
    static std::vector<AppFile> appFiles(const std::vector<Record>& records);

private:
    struct FileContext;
    using Level = std::vector<std::pair<std::shared_ptr<DirectoryInfo>, std::vector<FileContext>>>;
    class LevelBuilder;

    void directoryStep(DirectoryInfo& folder, const FileContext& context, const DirectoryMatcher& matcher,
                       LevelBuilder& next);
    void fileStep(DirectoryInfo& folder, const FileContext& context, const FileMatcher& matcher,
                  const Accept& accept, const Found& found);
    void list(DirectoryInfo& folder);
    // The node of a literal name: looked up on the disk only when the folder was never listed.
    FileNode* lookup(DirectoryInfo& folder, const CaseInsensitiveString& name);

    const AppFileRule& appFileRule_;
    std::unordered_map<std::string, std::shared_ptr<DirectoryInfo>> cache_;
    std::size_t listings_ = 0;
    std::size_t lookups_ = 0;
};

} // namespace core
