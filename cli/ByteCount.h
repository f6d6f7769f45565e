// Byte counts as users type them: "1048576", "500K", "50M", "2G" (powers of 1024).
#pragma once

#include <cstdint>
#include <string>

namespace tidewell {

// Throws UsageError for anything else.
std::int64_t parseByteCount(const std::string& text);

} // namespace tidewell
