// The estimate of space the system could reclaim on the boot volume by itself. Linux keeps no
// such purgeable store, so the estimate is 0 unless a provider is installed (tests, or a host
// that knows better).
//
// Threading: safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace core {

class PurgeableSpace {
public:
    using Provider = std::function<std::uint64_t(const std::string& volumePath)>;

    static std::uint64_t recoveryEstimate(const std::string& volumePath);
    // An empty provider restores the default estimate of 0.
    static void setProvider(Provider provider);
};

// Asks the system to give back its purgeable space. Linux keeps none, so cleaning ends at once
// with nothing cleaned, unless a host or a test installs a cleaner that knows better.
class PurgeableSpaceHelper {
public:
    struct Cleaner {
        // Cleans and calls back with whether it finished by itself; may call back on any thread.
        std::function<void(std::function<void(bool)>)> clean;
        std::function<std::uint64_t()> sizeWhenCleaningBegan;
        std::function<std::uint64_t()> currentPurgeableSize;
        std::function<void(bool)> cancel;
    };

    static PurgeableSpaceHelper& shared();

    void cleanPurgeableSpace(std::function<void(bool)> completion);
    std::uint64_t sizeWhenCleaningBegan() const;
    std::uint64_t currentPurgeableSize() const;
    void cancelCleaning(bool wait);

    // An empty cleaner restores the one that cleans nothing.
    void setCleaner(Cleaner cleaner);

private:
    Cleaner cleaner() const;
    mutable std::mutex mutex_;
    Cleaner cleaner_;
};

} // namespace core
