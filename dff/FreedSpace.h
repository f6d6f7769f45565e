// What removing files and folders gives back to the file system: the bytes it allocated to them,
// each file counted only when its last link goes. A hard-linked twin frees nothing while another
// name of it stays; a sparse file frees its allocated bytes, not its length.
//
// Threading: safe from any thread.
#pragma once

#include "dff/Path.h"

#include <vector>

namespace dff {

// The bytes that removing every member of a group but the first would free; folders count with
// everything inside them.
long long bytesFreedByRemovingAllButFirst(const std::vector<Path>& members);

} // namespace dff
