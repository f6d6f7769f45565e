// An analytics sink that keeps every call, installed for the life of the object.
#pragma once

#include "Core/foundation/Analytics.h"

#include <mutex>
#include <vector>

namespace core::testing {

struct RecordedEvent {
    int number;
    AnalyticsParams params;
};

struct RecordedLog {
    std::string text;
    int level;
};

class RecordingAnalytics final : public IAnalytics {
public:
    void event(int number, const AnalyticsParams& params) override {
        std::lock_guard lock(mutex_);
        events_.push_back({number, params});
    }
    void log(const std::string& text, int level) override {
        std::lock_guard lock(mutex_);
        logs_.push_back({text, level});
    }
    std::vector<RecordedEvent> events() const {
        std::lock_guard lock(mutex_);
        return events_;
    }
    std::vector<RecordedLog> logs() const {
        std::lock_guard lock(mutex_);
        return logs_;
    }
    // The events whose "part" is `part`.
    std::vector<RecordedEvent> eventsFor(const std::string& part) const {
        std::vector<RecordedEvent> matching;
        for (const auto& recorded : events())
            if (recorded.params.count("part") && recorded.params.at("part") == part)
                matching.push_back(recorded);
        return matching;
    }

private:
    mutable std::mutex mutex_;
    std::vector<RecordedEvent> events_;
    std::vector<RecordedLog> logs_;
};

// Installs a recording sink for the current scope.
class ScopedRecordingAnalytics {
public:
    ScopedRecordingAnalytics() : sink_(std::make_shared<RecordingAnalytics>()) { setAnalytics(sink_); }
    ~ScopedRecordingAnalytics() { setAnalytics(nullptr); }
    RecordingAnalytics& operator*() const { return *sink_; }
    RecordingAnalytics* operator->() const { return sink_.get(); }

private:
    std::shared_ptr<RecordingAnalytics> sink_;
};

} // namespace core::testing
