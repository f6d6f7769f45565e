#include "Core/platform/TrashDirectories.h"

#include "Core/platform/CurrentProcess.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/MountedVolumes.h"
#include "Core/platform/SystemPaths.h"

#include <algorithm>
#include <cstdlib>

namespace core {
namespace {

// $XDG_DATA_HOME belongs to the real home folder; a home folder set for a scan has its own.
std::string dataHome(const SystemPaths& paths) {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    const char* realHome = std::getenv("HOME");
    if (xdg && *xdg == '/' && realHome && paths.home() == realHome)
        return xdg;
    return paths.inHome(".local/share");
}

std::string cloudDocuments(const SystemPaths& paths) {
    return paths.inHome("Library/Mobile Documents");
}

} // namespace

std::string homeTrashFolder() {
    return dataHome(SystemPaths::shared()) + "/Trash";
}

std::vector<std::string> trashDirectoriesIncludingICloud() {
    const auto& paths = SystemPaths::shared();
    std::vector<std::string> candidates = {
        paths.inHome(".Trash"),
        cloudDocuments(paths) + "/com~apple~CloudDocs/.Trash",
        homeTrashFolder() + "/files",
    };
    // The freedesktop.org trash of every other volume: a shared ".Trash" with a folder per user,
    // or a ".Trash-UID" of the user's own.
    std::string uid = std::to_string(currentUserID());
    for (const auto& volume : volumesUnderRoot(paths.root())) {
        std::string top = volume == "/" ? "" : volume;
        candidates.push_back(top + "/.Trash/" + uid + "/files");
        candidates.push_back(top + "/.Trash-" + uid + "/files");
    }
    std::vector<std::string> existing;
    for (auto& candidate : candidates)
        if (leadsToFolder(candidate) &&
            std::find(existing.begin(), existing.end(), candidate) == existing.end())
            existing.push_back(std::move(candidate));
    return existing;
}

bool isICloudFile(const std::string& path) {
    std::string prefix = cloudDocuments(SystemPaths::shared()) + "/";
    return path.rfind(prefix, 0) == 0 || path + "/" == prefix;
}

} // namespace core
