// The categories of the junk scan that look at what the user collected: the content of the
// downloads folder, and the attachments that mail clients stored on disk. No rule of age or size
// applies: all that is there is reported, and the application decides what the user sees.
//
// Threading: runs on the junk scan's serial queue, under its FileFinderContext.
#pragma once

#include "Core/foundation/JunkExclusions.h"
#include "Core/junk/JunkDiagnostics.h"

namespace core {

class DownloadsScanner {
public:
    DownloadsScanner() = delete;

    // Each top-level entry of the downloads folder is one item; a folder is reported whole.
    static void scanDownloads(const JunkExclusions& exclusions, const FoundFile& found);
    // The attachment folders of the known mail clients below the user's Library folder.
    static void scanMailDownloads(const JunkExclusions& exclusions, const FoundFile& found);
};

} // namespace core
