#include "Core/foundation/SizeString.h"

#include <array>
#include <cstdio>

namespace core {

std::string sizeString(std::int64_t bytes) {
    if (bytes == 1 || bytes == -1)
        return std::to_string(bytes) + " byte";
    std::int64_t magnitude = bytes < 0 ? -bytes : bytes;
    if (magnitude < 1000)
        return std::to_string(bytes) + " bytes";
    static constexpr std::array<const char*, 6> units = {"kB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes) / 1000.0;
    std::size_t unit = 0;
    // Round first, so that 999,999 bytes reads "1.0 MB" and not "1000.0 kB".
    while (unit + 1 < units.size() && (value >= 999.95 || value <= -999.95)) {
        value /= 1000.0;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}

} // namespace core
