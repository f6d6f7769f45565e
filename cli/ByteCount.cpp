#include "cli/ByteCount.h"

#include "cli/Command.h"

#include <charconv>
#include <limits>

namespace tidewell {

std::int64_t parseByteCount(const std::string& text) {
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    std::string suffix(end, text.data() + text.size());
    std::int64_t unit = suffix.empty()                   ? 1
                        : suffix == "K" || suffix == "k" ? 1024
                        : suffix == "M"                  ? 1024 * 1024
                        : suffix == "G"                  ? 1024 * 1024 * 1024
                                                         : 0;
    if (error != std::errc() || value < 0 || unit == 0 ||
        value > std::numeric_limits<std::int64_t>::max() / unit)
        throw UsageError("not a byte count: " + text + " (a number, optionally followed by K, M or G)");
    return value * unit;
}

} // namespace tidewell
