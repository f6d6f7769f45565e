#include "cli/UnreadableFolders.h"

#include "Core/foundation/FileManager.h"

namespace tidewell {

class UnreadableFolders::CountingSink final : public core::IAnalytics {
public:
    explicit CountingSink(std::shared_ptr<core::IAnalytics> next) : next_(std::move(next)) {}

    void event(int number, const core::AnalyticsParams& params) override { next_->event(number, params); }
    void log(const std::string& text, int level) override {
        if (text.rfind(core::unreadableFolderLogLine, 0) == 0)
            ++count;
        next_->log(text, level);
    }

    std::atomic<std::int64_t> count{0};

private:
    std::shared_ptr<core::IAnalytics> next_;
};

UnreadableFolders::UnreadableFolders()
    : previous_(core::analytics()), sink_(std::make_shared<CountingSink>(previous_)) {
    core::setAnalytics(sink_);
}

UnreadableFolders::~UnreadableFolders() {
    core::setAnalytics(previous_);
}

std::int64_t UnreadableFolders::count() const {
    return sink_->count;
}

void UnreadableFolders::add() {
    ++sink_->count;
}

void UnreadableFolders::printSummary(std::ostream& out) const {
    auto folders = count();
    if (folders > 0)
        out << folders << (folders == 1 ? " folder" : " folders") << " could not be read\n";
}

} // namespace tidewell
