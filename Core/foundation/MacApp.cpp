#include "Core/foundation/MacApp.h"

#include <cstdio>
#include <random>

namespace core {
namespace {

std::string makeUUIDString() {
    static thread_local std::mt19937_64 generator{std::random_device{}()};
    std::uint64_t high = generator(), low = generator();
    // Version 4, variant 1.
    high = (high & ~0xF000ULL) | 0x4000ULL;
    low = (low & ~(0xC000ULL << 48)) | (0x8000ULL << 48);
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                  static_cast<unsigned>((high >> 16) & 0xFFFF), static_cast<unsigned>(high & 0xFFFF),
                  static_cast<unsigned>(low >> 48), static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFULL));
    return text;
}

} // namespace

std::shared_ptr<MacApp> MacApp::make(CaseInsensitiveString bundleID,
                                     std::optional<CaseInsensitiveString> organization) {
    return std::shared_ptr<MacApp>(new MacApp(std::move(bundleID), std::move(organization)));
}

MacApp::MacApp(CaseInsensitiveString bundleID, std::optional<CaseInsensitiveString> organization)
    : bundleID(std::move(bundleID)), organization(std::move(organization)),
      lockQueue_(DispatchQueue::makeSerial("APPListItemNode.SerialQueue." + makeUUIDString())) {}

CaseInsensitiveSet MacApp::bundleIDs() const {
    CaseInsensitiveSet copy;
    lockQueue_->sync([&] { copy = bundleIDs_; });
    return copy;
}

void MacApp::setBundleIDs(CaseInsensitiveSet ids) {
    lockQueue_->async([weakSelf = weak_from_this(), ids = std::move(ids)]() mutable {
        if (auto self = weakSelf.lock())
            self->bundleIDs_ = std::move(ids);
    });
}

} // namespace core
