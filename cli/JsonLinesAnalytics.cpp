#include "cli/JsonLinesAnalytics.h"

#include "cli/Command.h"
#include "cli/JsonBytes.h"

#include <nlohmann/json.hpp>

namespace tidewell {

JsonLinesAnalytics::JsonLinesAnalytics(const std::string& path) : out_(path, std::ios::app) {
    if (!out_)
        throw UsageError("cannot open the analytics log " + path);
}

void JsonLinesAnalytics::event(int number, const core::AnalyticsParams& params) {
    auto values = nlohmann::json::object();
    for (const auto& [name, value] : params)
        values[name] = jsonBytes(value);
    nlohmann::json line = {{"event", number}, {"params", values}};
    std::lock_guard lock(mutex_);
    out_ << line.dump() << '\n' << std::flush;
}

void JsonLinesAnalytics::log(const std::string& text, int level) {
    nlohmann::json line = {{"log", jsonBytes(text)}, {"level", level}};
    std::lock_guard lock(mutex_);
    out_ << line.dump() << '\n' << std::flush;
}

} // namespace tidewell
