// Overwriting files in place before removing them, so that their content is not left in the free
// blocks of the disk.
//
// Honest about its limits: an overwrite in place reaches the old blocks only where the file system
// writes in place. Copy-on-write (btrfs, ZFS), log-structured and compressed file systems, and the
// wear levelling of solid-state disks may keep the old content elsewhere; `overwriteIsReliable`
// tells where it is not.
//
// Links are never written through: a link is removed. A file with more than one hard link is only
// unlinked, since its content lives on under its other names. Files are overwritten without being
// truncated first and synced before they are removed.
//
// Threading: reentrant; blocks its caller for the time of the writes.
#pragma once

#include <string>

namespace core {

// Shreds a file, or everything below a folder and then the folder. 0 on success, else the errno of
// the first failure (the walk stops there). A path that does not exist succeeds.
int shredPath(const std::string& path);

// Shreds the entry `name` of the open folder `folderDescriptor`, as shredPath does a file: for a
// walk that must not resolve paths again.
int shredAt(int folderDescriptor, const std::string& name);

// False where the file system holding `path` does not reliably overwrite in place.
bool overwriteIsReliable(const std::string& path);

} // namespace core
