// What `tidewell delete` is asked to remove: paths named on the command line, or the records of a
// finder's --json result, checked before anything is touched. Paths stay byte-exact; nothing is
// re-rooted or resolved, so the very file that was shown is the one removed.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace tidewell {

struct PlannedItem {
    std::string path;
    std::int64_t size = 0;
};

struct SkippedItem {
    std::string path;
    std::string reason;
};

struct DeletionPlan {
    std::vector<PlannedItem> items;
    std::vector<SkippedItem> skipped;
    // The result asked for the purgeable space to be cleaned.
    bool cleanPurgeableSpace = false;
    std::int64_t totalSize() const;
};

// The paths of the records of a finder's --json result under the chosen top-level keys (all but
// "purgeableSpace" when none are chosen). In groups of duplicates every member but the first is
// taken, so one copy always stays. Throws UsageError for a document that is not such a result.
std::vector<std::string> pathsFromResult(const nlohmann::json& result, const std::vector<std::string>& keys,
                                         bool& cleanPurgeableSpace);

// An absolute form of a path given on the command line: relative ones are taken from the working
// folder; nothing else changes.
std::string absoluteArgument(const std::string& path);

// Throws UsageError when removing `path` would remove "/", the home folder, the root folder, or
// anything holding one of them.
void refuseProtected(const std::string& path, const std::vector<std::string>& protectedFolders);

// Sizes every path as the scans count them. Paths from a result that are now symbolic links are
// skipped: a finder reports files and folders, so a link there was put in their place since.
DeletionPlan makePlan(const std::vector<std::string>& paths, bool fromResult);

} // namespace tidewell
