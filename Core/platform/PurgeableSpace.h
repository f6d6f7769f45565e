// The estimate of space the system could reclaim on the boot volume by itself. Linux keeps no
// such purgeable store, so the estimate is 0 unless a provider is installed (tests, or a host
// that knows better).
//
// Threading: safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace core {

class PurgeableSpace {
public:
    using Provider = std::function<std::uint64_t(const std::string& volumePath)>;

    static std::uint64_t recoveryEstimate(const std::string& volumePath);
    // An empty provider restores the default estimate of 0.
    static void setProvider(Provider provider);
};

} // namespace core
