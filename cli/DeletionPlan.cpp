#include "cli/DeletionPlan.h"

#include "cli/Command.h"
#include "cli/JsonBytes.h"
#include "cli/Terminal.h"

#include "Core/foundation/FileManager.h"
#include "Core/foundation/URL.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/Text.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace tidewell {
namespace {

// Collects the "path" of every record below `value`; in an array of groups, every member of a
// group but its first.
void collectPaths(const nlohmann::json& value, std::vector<std::string>& paths) {
    if (value.is_object()) {
        if (auto path = value.find("path"); path != value.end()) {
            auto bytes = bytesFromJson(*path);
            if (!bytes)
                throw UsageError("a record's path is neither text nor base64 bytes");
            paths.push_back(*bytes);
        }
        for (const auto& [key, member] : value.items())
            if (key != "path")
                collectPaths(member, paths);
    } else if (value.is_array()) {
        bool groups = !value.empty() && std::all_of(value.begin(), value.end(),
                                                    [](const nlohmann::json& v) { return v.is_array(); });
        for (const auto& member : value) {
            if (groups && !member.empty()) {
                for (std::size_t i = 1; i < member.size(); ++i)
                    collectPaths(member[i], paths);
            } else if (!groups) {
                collectPaths(member, paths);
            }
        }
    }
}

// The canonical form of a path without following its last component, which is what removal
// acts on.
std::string canonicalOwnPath(const std::string& path) {
    auto [folder, name] = core::splitLastComponent(path);
    if (name.empty() || name == "." || name == "..")
        return core::canonicalPath(path).value_or(path);
    auto canonicalFolder = core::canonicalPath(folder).value_or(folder);
    return (canonicalFolder == "/" ? "" : canonicalFolder) + "/" + name;
}

} // namespace

std::int64_t DeletionPlan::totalSize() const {
    std::int64_t total = 0;
    for (const auto& item : items)
        total += item.size;
    return total;
}

std::vector<std::string> pathsFromResult(const nlohmann::json& result, const std::vector<std::string>& keys,
                                         bool& cleanPurgeableSpace) {
    std::vector<std::string> paths;
    if (result.is_array()) {
        if (!keys.empty())
            throw UsageError("--select needs a result with top-level keys");
        collectPaths(result, paths);
        return paths;
    }
    if (!result.is_object())
        throw UsageError("not the --json result of a finder");
    for (const auto& key : keys)
        if (!result.contains(key))
            throw UsageError("the result has no key " + key);
    for (const auto& [key, value] : result.items()) {
        bool chosen =
            keys.empty() ? key != "purgeableSpace" : std::find(keys.begin(), keys.end(), key) != keys.end();
        if (!chosen)
            continue;
        // Purgeable space is not a path to remove: the system gives it back when asked.
        if (key == "purgeableSpace")
            cleanPurgeableSpace = true;
        else
            collectPaths(value, paths);
    }
    return paths;
}

std::string absoluteArgument(const std::string& path) {
    if (path.empty())
        throw UsageError("an empty path names nothing");
    if (path.front() == '/')
        return path;
    return std::filesystem::current_path().string() + "/" + path;
}

void refuseProtected(const std::string& path, const std::vector<std::string>& protectedFolders) {
    std::string own = canonicalOwnPath(path);
    for (const auto& folder : protectedFolders) {
        std::string canonical = core::canonicalPath(folder).value_or(folder);
        if (core::isSameOrInside(canonical, own))
            throw UsageError("refusing to delete " + printable(path) + ": it is or holds " +
                             printable(folder));
    }
}

DeletionPlan makePlan(const std::vector<std::string>& paths, bool fromResult) {
    DeletionPlan plan;
    std::set<std::string> seen;
    for (const auto& path : paths) {
        if (!seen.insert(path).second)
            continue;
        auto status = core::fileStatus(path);
        if (fromResult && status && status->isSymbolicLink()) {
            plan.skipped.push_back({path, "is a symbolic link now"});
            continue;
        }
        plan.items.push_back({path, status ? core::size(core::URL::fileURL(path)) : 0});
    }
    return plan;
}

} // namespace tidewell
