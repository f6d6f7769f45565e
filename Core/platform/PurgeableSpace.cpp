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

PurgeableSpaceHelper& PurgeableSpaceHelper::shared() {
    static PurgeableSpaceHelper helper;
    return helper;
}

PurgeableSpaceHelper::Cleaner PurgeableSpaceHelper::cleaner() const {
    std::lock_guard lock(mutex_);
    return cleaner_;
}

void PurgeableSpaceHelper::setCleaner(Cleaner cleaner) {
    std::lock_guard lock(mutex_);
    cleaner_ = std::move(cleaner);
}

void PurgeableSpaceHelper::cleanPurgeableSpace(std::function<void(bool)> completion) {
    auto installed = cleaner();
    if (installed.clean)
        installed.clean(std::move(completion));
    else
        completion(true);
}

std::uint64_t PurgeableSpaceHelper::sizeWhenCleaningBegan() const {
    auto installed = cleaner();
    return installed.sizeWhenCleaningBegan ? installed.sizeWhenCleaningBegan() : 0;
}

std::uint64_t PurgeableSpaceHelper::currentPurgeableSize() const {
    auto installed = cleaner();
    return installed.currentPurgeableSize ? installed.currentPurgeableSize() : 0;
}

void PurgeableSpaceHelper::cancelCleaning(bool wait) {
    if (auto installed = cleaner(); installed.cancel)
        installed.cancel(wait);
}

} // namespace core
