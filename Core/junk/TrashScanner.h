// The trash category of the junk scan. A trash folder may be hidden from this process by missing
// permission, and a scan that silently finds nothing is hard to explain to a user, so every trash
// folder that could exist is looked at and what was seen is logged ("[TrashScan] " lines).
// Each top-level item of a trash folder is one find; a folder in the trash is one item.
//
// Threading: runs on the junk scan's serial queue, under its FileFinderContext.
#pragma once

#include "Core/foundation/Analytics.h"
#include "Core/foundation/JunkExclusions.h"
#include "Core/junk/JunkDiagnostics.h"

namespace core {

class TrashScanner {
public:
    TrashScanner() = delete;

    static void scanTrash(const JunkExclusions& exclusions, const FoundFile& found);

    // "[TrashScan] EVENT key=value key=value", keys in ascending order, at level 2, or 3 for
    // "list_failed".
    static void trashLog(const std::string& event, const AnalyticsParams& fields);
};

} // namespace core
