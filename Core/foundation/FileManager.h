// Listing a folder with the resource values a scanner needs, and the size of anything on the
// disk as the user would count it.
//
// Threading: every operation may run on any queue. Under a FileFinderContext, listings and folder
// sizes publish the URL they are working on and give up once the context is interrupted.
#pragma once

#include "Core/foundation/URL.h"

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace core {

// Which values a listing reads; the name is always read.
enum URLResourceKey : unsigned {
    URLNameKey = 0,
    URLFileSizeKey = 1u << 0,
    URLIsDirectoryKey = 1u << 1,
    URLFileAllocatedSizeKey = 1u << 2,
    URLTotalFileAllocatedSizeKey = 1u << 3,
};
using URLResourceKeys = unsigned;

// Values as a listing gives them; a value not asked for is absent. fileSize is absent for
// folders; links are not followed.
struct URLResourceValues {
    std::optional<std::string> name;
    std::optional<std::int64_t> fileSize;
    std::optional<bool> isDirectory;
    std::optional<std::int64_t> fileAllocatedSize;
    std::optional<std::int64_t> totalFileAllocatedSize;
};

struct URLResource {
    URL url;
    URLResourceValues resourceValues;
};

// The byte count of a file (its size) or of a folder (the allocated size of its tree); 0 for
// anything that cannot be read.
std::int64_t size(const URL& url);

// The same from values a listing already gave, without reading the file again.
std::int64_t size(const URL& url, const URLResourceValues& values);

// The values of one file; absent with `error` set when it cannot be read.
std::optional<URLResourceValues> resourceValues(const URL& url, URLResourceKeys keys, std::error_code& error);

// The start of the log line for a folder that could not be read: "[Scan] unreadable_folder
// errno=N path=P", at level 3. Hosts count these lines.
inline constexpr const char* unreadableFolderLogLine = "[Scan] unreadable_folder";

// Logs a folder that could not be read, with the errno of the failure.
void reportUnreadableFolder(const std::string& path, int error);

// True when path is exactly one of the user's trash folders; a path inside one is not.
bool isTrashBinPath(const std::string& path);

// The entries of one folder, hidden ones included and ".DS_Store" left out, in the order the file
// system gives them. `error` is set when the folder cannot be read; under an interrupted context
// the result is empty, or what was gathered before the interruption was seen.
std::vector<URLResource> urlResources(const URL& url, URLResourceKeys keys, std::error_code& error);

} // namespace core
