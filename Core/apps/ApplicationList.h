// The installed applications: where their bundles are, from the file index and from a walk of the
// applications folders, without duplicates.
//
// Threading: blocks the caller while the index answers; call it from a background queue.
#pragma once

#include "Core/foundation/URL.h"

#include <vector>

namespace core {

// Every application bundle found, less `excluding`, in path order.
std::vector<URL> applicationURLs(const std::vector<URL>& excluding);

// The same, less bundles inside other bundles, hidden folders and virtual machines.
std::vector<URL> filteredApplicationURLs(const std::vector<URL>& excluding);

// Whether a path may be an application of its own: not in a hidden folder, a virtual machine, a
// framework, another application or a bundle.
bool passesApplicationPathFilter(const std::string& path);

} // namespace core
