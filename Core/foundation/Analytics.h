// The process-wide diagnostics facade: numbered events with a table of text, and log lines with a
// level. Where they go is the host's choice; by default they are dropped.
//
// Threading: the sink may be replaced and called from any thread; sinks must be thread-safe.
#pragma once

#include <map>
#include <memory>
#include <string>

namespace core {

using AnalyticsParams = std::map<std::string, std::string>;

class IAnalytics {
public:
    virtual ~IAnalytics() = default;
    virtual void event(int number, const AnalyticsParams& params) = 0;
    virtual void log(const std::string& text, int level) = 0;
};

// A number as event tables write it: the shortest decimal text that reads back as the same double.
std::string shortestDecimal(double value);

// The sink in use; never null.
std::shared_ptr<IAnalytics> analytics();
// Null restores the sink that drops everything.
void setAnalytics(std::shared_ptr<IAnalytics> sink);

} // namespace core
