// The installed applications: where their bundles are, from the file index and from a walk of the
// applications folders, without duplicates.
//
// Threading: blocks the caller while the index answers; call it from a background queue.
#pragma once

#include "Core/foundation/URL.h"

#include <string>
#include <vector>

namespace core {

// Every application bundle found, less `excluding`, in path order.
std::vector<URL> applicationURLs(const std::vector<URL>& excluding);

// The same, less bundles inside other bundles, hidden folders and virtual machines.
std::vector<URL> filteredApplicationURLs(const std::vector<URL>& excluding);

// The identifiers of the applications the system has registered, from the dump of the
// launch-services register: a line "label: identifier" names one. Linux keeps no such register;
// the command table stands in for its tool (the desktop-entry database of a Linux layout is to
// provide it), and until something does, the tool cannot start and the list is empty.
std::vector<std::string> registeredApplicationIDs();
inline constexpr const char* launchServicesRegister =
    "/System/Library/Frameworks/CoreServices.framework/Versions/A/Frameworks/LaunchServices.framework/"
    "Versions/A/Support/lsregister";

// Whether a path may be an application of its own: not in a hidden folder, a virtual machine, a
// framework, another application or a bundle.
bool passesApplicationPathFilter(const std::string& path);

} // namespace core
