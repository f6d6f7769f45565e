// The trash folders of the user, whatever their source: the macOS layout under the home folder
// (including the cloud drive's), and the freedesktop.org trash of the home folder and of every
// volume under the root (volumesUnderRoot).
//
// Threading: safe from any thread; reads SystemPaths and the disk on every call.
#pragma once

#include <string>
#include <vector>

namespace core {

// The freedesktop.org trash of the home folder, which holds "files" and "info".
std::string homeTrashFolder();

// The trash folders that exist, in a fixed order without duplicates.
std::vector<std::string> trashDirectoriesIncludingICloud();

// True for a path inside the cloud drive folder, where a file may be a placeholder whose nominal
// size is not on the disk.
bool isICloudFile(const std::string& path);

} // namespace core
