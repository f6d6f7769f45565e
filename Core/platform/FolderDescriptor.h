// Opening a folder for listing by a path of any length. The kernel refuses paths longer than
// PATH_MAX, but a tree may be deeper than that: such a path is opened in steps, each relative to
// the folder opened before it, so depth is no limit to a walk.
//
// Threading: reentrant.
#pragma once

#include <string>

namespace core {

// A descriptor of the folder at `path`, not following the last component if it is a link (below
// PATH_MAX, the components before it resolve as the kernel resolves them; beyond it, no link is
// followed). -1 with errno set when it cannot be opened; the caller closes the descriptor.
int openFolderNoFollow(const std::string& path);

} // namespace core
