#include "Core/platform/MountedVolumes.h"

#include "Core/platform/ConfinedPath.h"
#include "Core/platform/FileInfo.h"

#include <mutex>
#include <set>
#include <sstream>

namespace core {
namespace {

std::mutex fileMutex;
std::string mountInfoFile = "/proc/self/mountinfo";

const std::set<std::string>& pseudoFileSystems() {
    static const std::set<std::string> types = {
        "proc",       "sysfs",   "devtmpfs", "devpts",          "tmpfs",       "cgroup",     "cgroup2",
        "securityfs", "debugfs", "tracefs",  "pstore",          "bpf",         "mqueue",     "hugetlbfs",
        "configfs",   "fusectl", "autofs",   "binfmt_misc",     "nsfs",        "rpc_pipefs", "efivarfs",
        "selinuxfs",  "ramfs",   "squashfs", "fuse.gvfsd-fuse", "fuse.portal",
    };
    return types;
}

// Mount points escape blanks and backslashes as three-digit octal numbers.
std::string unescaped(const std::string& field) {
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            text += static_cast<char>(std::stoi(field.substr(i + 1, 3), nullptr, 8));
            i += 3;
        } else {
            text += field[i];
        }
    }
    return text;
}

} // namespace

std::vector<std::string> parseMountInfo(const std::string& text) {
    std::vector<std::string> points;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // id parent major:minor root mount-point options [optional fields...] - type source ...
        std::istringstream fields(line);
        std::string id, parent, device, root, mountPoint, field;
        if (!(fields >> id >> parent >> device >> root >> mountPoint))
            continue;
        while (fields >> field && field != "-") {
        }
        std::string type;
        if (!(fields >> type) || pseudoFileSystems().count(type))
            continue;
        points.push_back(unescaped(mountPoint));
    }
    return points;
}

std::vector<std::string> mountedVolumePaths() {
    std::string path;
    {
        std::lock_guard lock(fileMutex);
        path = mountInfoFile;
    }
    return parseMountInfo(readFileContents(path).value_or(""));
}

std::vector<std::string> volumesUnderRoot(const std::string& root) {
    auto mounted = mountedVolumePaths();
    std::vector<std::string> inside;
    for (auto& point : mounted)
        if (isSameOrBelow(point, root))
            inside.push_back(std::move(point));
    return inside;
}

void setMountInfoFile(std::string path) {
    std::lock_guard lock(fileMutex);
    mountInfoFile = path.empty() ? "/proc/self/mountinfo" : std::move(path);
}

} // namespace core
