// The first two categories of the junk scan: the machine-wide caches and the system's log files,
// each a fixed list of places. Every find goes to `found` as one File; at its end a category sends
// its diagnostic event, unless it was interrupted.
//
// Threading: runs on the junk scan's serial queue, under its FileFinderContext.
#pragma once

#include "Core/foundation/JunkExclusions.h"
#include "Core/junk/JunkDiagnostics.h"

namespace core {

class SystemJunkScanner {
public:
    SystemJunkScanner() = delete;

    // "/Library/Caches" entry by entry, sparing a few names the system needs, and the symbolication
    // cache of "/System/Library/Caches".
    static void scanSystemCaches(const JunkExclusions& exclusions, const FoundFile& found);
    // "/Library/Logs" entry by entry, the diagnostics store, and the rotated system logs of
    // "/private/var/log".
    static void scanSystemLogs(const JunkExclusions& exclusions, const FoundFile& found);

    // Whether a name in "/private/var/log" is a log the user may remove.
    static bool isRemovableVarLogName(const std::string& name);
};

} // namespace core
