#include "Core/foundation/MacApp.h"

#include "Core/platform/Text.h"

namespace core {

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
