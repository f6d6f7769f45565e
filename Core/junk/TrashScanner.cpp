#include "Core/junk/TrashScanner.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"
#include "Core/platform/CurrentProcess.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/MountedVolumes.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/TrashDirectories.h"

#include <algorithm>
#include <set>

namespace core {
namespace {

const char* text(bool value) {
    return value ? "true" : "false";
}

std::string joinedPaths(const std::vector<std::string>& paths) {
    std::string joined;
    for (const auto& path : paths)
        joined += (joined.empty() ? "" : "|") + path;
    return joined;
}

// The folders this category looks at besides the system's list: the macOS trash of the home
// folder, and the per-user trash folder of every volume in the macOS layout.
std::vector<std::string> ownTrashList() {
    std::vector<std::string> own = {SystemPaths::shared().inHome(".Trash")};
    std::string uid = std::to_string(currentUserID());
    for (const auto& volume : volumesUnderRoot(SystemPaths::shared().root()))
        own.push_back((volume == "/" ? "" : volume) + "/.Trashes/" + uid);
    return own;
}

void inspect(const std::string& path, bool fromSystem) {
    auto info = fileStatus(path, LinkHandling::follow);
    bool exists = info.has_value();
    TrashScanner::trashLog("inspect", {{"source", fromSystem ? "system_api" : "diagnostic"},
                                       {"path", path},
                                       {"exists", text(exists)},
                                       {"isDirectory", text(exists && info->isFolder())},
                                       {"readable", text(canAccess(path, Access::read))},
                                       {"writable", text(canAccess(path, Access::write))}});
}

// Lists one trash folder and reports its items. False when the scan was interrupted.
bool scanCandidate(const std::string& path, const JunkExclusions& exclusions, JunkCategoryTally& tally,
                   const FoundFile& found) {
    std::error_code error;
    auto items = listFolderOrReport(URL::fileURL(path), URLFileSizeKey | URLIsDirectoryKey, error);
    if (error) {
        TrashScanner::trashLog("list_failed", {{"path", path}, {"error", error.message()}});
        return true;
    }
    TrashScanner::trashLog("list_ok", {{"path", path}, {"itemCount", std::to_string(items.size())}});
    TrashScanner::trashLog("has_content",
                           {{"path", path}, {"value", text(!items.empty())}, {"check", "top_level"}});
    for (const auto& item : items) {
        if (FileFinderContext::currentIsInterrupted())
            return false;
        if (!item.resourceValues.name || exclusions.excludes(item.url))
            continue;
        File file{item.url, size(item.url, item.resourceValues)};
        TrashScanner::trashLog("found_item",
                               {{"parentPath", path},
                                {"path", item.url.path()},
                                {"size", std::to_string(file.size)},
                                {"isDirectory", text(item.resourceValues.isDirectory.value_or(false))}});
        tally.report(file, found);
    }
    return true;
}

} // namespace

void TrashScanner::trashLog(const std::string& event, const AnalyticsParams& fields) {
    std::string line = "[TrashScan] " + event;
    // The table is ordered by key already.
    for (const auto& [key, value] : fields)
        line += " " + key + "=" + value;
    analytics()->log(line, event == "list_failed" ? 3 : 2);
}

void TrashScanner::scanTrash(const JunkExclusions& exclusions, const FoundFile& found) {
    if (FileFinderContext::currentIsInterrupted())
        return;
    JunkCategoryTally tally;
    auto systemList = trashDirectoriesIncludingICloud();
    std::set<std::string> fromSystem(systemList.begin(), systemList.end());
    trashLog("system_urls", {{"count", std::to_string(fromSystem.size())},
                             {"paths", joinedPaths({fromSystem.begin(), fromSystem.end()})}});

    std::set<std::string> candidates = fromSystem;
    for (auto& path : ownTrashList())
        candidates.insert(std::move(path));
    std::vector<std::string> sorted(candidates.begin(), candidates.end());
    trashLog("candidate_urls", {{"count", std::to_string(sorted.size())}, {"paths", joinedPaths(sorted)}});

    for (const auto& path : sorted) {
        inspect(path, fromSystem.count(path) > 0);
        if (!scanCandidate(path, exclusions, tally, found))
            return;
    }
    auto event = tally.sendEvent("trash");
    trashLog("finished", {{"durationMs", event["duration"]}, {"num", event["num"]}, {"size", event["size"]}});
}

} // namespace core
