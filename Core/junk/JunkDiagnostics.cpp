#include "Core/junk/JunkDiagnostics.h"

#include "Core/foundation/Analytics.h"

namespace core {

AnalyticsParams JunkCategoryTally::sendEvent(const std::string& part) const {
    auto elapsed =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - started_);
    AnalyticsParams params = {
        {"part", part},
        {"duration", shortestDecimal(static_cast<double>(elapsed.count()) / 1e6)},
        {"num", std::to_string(count_)},
        {"size", std::to_string(total_)},
    };
    analytics()->event(junkCategoryEventNumber, params);
    return params;
}

std::vector<URLResource> listFolderOrReport(const URL& folder, URLResourceKeys keys, std::error_code& error) {
    auto entries = urlResources(folder, keys, error);
    if (error && error != std::errc::no_such_file_or_directory)
        reportUnreadableFolder(folder.path(), error.value());
    return entries;
}

} // namespace core
