#include "Core/platform/PurgeableSpace.h"

#include <mutex>

namespace core {
namespace {

std::mutex providerMutex;
PurgeableSpace::Provider installedProvider;

} // namespace

std::uint64_t PurgeableSpace::recoveryEstimate(const std::string& volumePath) {
    std::lock_guard lock(providerMutex);
    return installedProvider ? installedProvider(volumePath) : 0;
}

void PurgeableSpace::setProvider(Provider provider) {
    std::lock_guard lock(providerMutex);
    installedProvider = std::move(provider);
}

} // namespace core
