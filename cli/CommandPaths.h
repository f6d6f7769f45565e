// Paths given on the command line, made into what the library compares and lists: absolute (a
// relative path is taken from the working folder) and lexically normal, so that "a//b/./c/" names
// the same file as "a/b/c".
#pragma once

#include "Core/foundation/URL.h"

#include <optional>
#include <string>
#include <vector>

namespace tidewell {

// Absent for an empty path, which names nothing.
std::optional<core::URL> commandLineURL(const std::string& path);
// Throws UsageError for an empty path.
std::vector<core::URL> commandLineURLs(const std::vector<std::string>& paths);

} // namespace tidewell
