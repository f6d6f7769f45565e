// Whether a path names something, seen through symbolic links: a link whose target is gone names
// nothing, as for a program that opens the path.
//
// Threading: reentrant; any thread.
#pragma once

#include <string>

namespace core {

// True when the path, its links followed, leads to an existing file or folder.
bool existsFollowingLinks(const std::string& path);

} // namespace core
