// Application bundles on disk as a macOS volume holds them, for the tests of the application
// scans: an information dictionary in "Contents/Info.plist" and an executable in
// "Contents/MacOS".
#pragma once

#include "tests/support/TempTree.h"

#include <map>
#include <string>

namespace core::testing {

// Writes an XML property list with string values.
void writePlist(const std::string& path, const std::map<std::string, std::string>& strings);

// Writes an application-like bundle at `relative` inside the tree; returns its absolute path.
std::string writeBundle(const TempTree& tree, const std::string& relative, const std::string& bundleID,
                        const std::string& name = "");

} // namespace core::testing
