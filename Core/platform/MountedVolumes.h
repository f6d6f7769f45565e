// The mounted volumes of this machine, from the kernel's mount table, without the pseudo file
// systems (proc, sysfs, cgroups, tmpfs and the like) that hold no user files.
//
// Threading: safe from any thread; reads the mount table on every call.
#pragma once

#include <string>
#include <vector>

namespace core {

// The mount points of a mountinfo text, in its order, pseudo file systems left out.
std::vector<std::string> parseMountInfo(const std::string& text);

// The mount points of this process's mount table.
std::vector<std::string> mountedVolumePaths();

// The mount points of the volumes a scan under `root` looks at: the root itself if it is one, and
// those mounted inside it. The host's other volumes are not part of what is being cleaned.
std::vector<std::string> volumesUnderRoot(const std::string& root);

// Reads the mount table from another file; empty restores "/proc/self/mountinfo".
void setMountInfoFile(std::string path);

} // namespace core
