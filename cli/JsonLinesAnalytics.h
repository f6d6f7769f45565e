// An analytics sink that appends every call to a file as one JSON object per line, so that a user
// or a test can see the diagnostics a scan sent.
#pragma once

#include "Core/foundation/Analytics.h"

#include <fstream>
#include <mutex>

namespace tidewell {

class JsonLinesAnalytics final : public core::IAnalytics {
public:
    // Throws UsageError when the file cannot be opened for appending.
    explicit JsonLinesAnalytics(const std::string& path);
    void event(int number, const core::AnalyticsParams& params) override;
    void log(const std::string& text, int level) override;

private:
    std::mutex mutex_;
    std::ofstream out_;
};

} // namespace tidewell
