#include "Core/foundation/Analytics.h"

#include <charconv>
#include <mutex>

namespace core {
namespace {

class DroppingAnalytics final : public IAnalytics {
public:
    void event(int, const AnalyticsParams&) override {}
    void log(const std::string&, int) override {}
};

std::mutex sinkMutex;

std::shared_ptr<IAnalytics>& installedSink() {
    static std::shared_ptr<IAnalytics> sink = std::make_shared<DroppingAnalytics>();
    return sink;
}

} // namespace

std::string shortestDecimal(double value) {
    char text[32];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::shared_ptr<IAnalytics> analytics() {
    std::lock_guard lock(sinkMutex);
    return installedSink();
}

void setAnalytics(std::shared_ptr<IAnalytics> sink) {
    std::lock_guard lock(sinkMutex);
    installedSink() = sink ? std::move(sink) : std::make_shared<DroppingAnalytics>();
}

} // namespace core
