#include "Core/junk/JunkDiagnostics.h"

#include "Core/foundation/Analytics.h"

#include <charconv>

namespace core {

std::string shortestDecimal(double value) {
    char text[32];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

void JunkCategoryTally::sendEvent(const std::string& part) const {
    auto elapsed =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - started_);
    analytics()->event(junkCategoryEventNumber, {
                                                    {"part", part},
                                                    {"duration", shortestDecimal(elapsed.count() / 1e6)},
                                                    {"num", std::to_string(count_)},
                                                    {"size", std::to_string(total_)},
                                                });
}

} // namespace core
