// The two categories of the junk scan that ask the file index instead of walking: screenshots (in
// the Desktop, Downloads and Documents folders) and disk images (anywhere in the home folder).
//
// Threading: start from any thread; each query runs on an operation queue of its own, one
// operation at a time, and calls its completion there. A query is not stopped by the scan's
// stop(): it runs to its end.
#pragma once

#include "Core/foundation/File.h"
#include "Core/foundation/JunkExclusions.h"

#include <functional>
#include <string>
#include <vector>

namespace core {

using QueryCompletion = std::function<void(std::vector<File>)>;

class JunkQueries {
public:
    JunkQueries() = delete;

    static inline const std::string screenshotQuery = "kMDItemIsScreenCapture == 1 || kMDItemComment == "
                                                      "'Screenshot' || kMDItemImageIsScreenshot == 1 || "
                                                      "kMDItemIsScreenRecording = 1";
    static inline const std::string diskImageQuery = "kMDItemContentType == 'com.apple.disk-image-udif'";

    static void startScreenshotQuery(JunkExclusions exclusions, QueryCompletion completion);
    static void startDiskImageQuery(JunkExclusions exclusions, QueryCompletion completion);
};

} // namespace core
