// Everything by which one application is recognised while a scan runs: its principal bundle
// identifier, its bundles, all its identifiers, names and organization. Private to the scanners.
//
// Threading: `bundleIDs` may be read and written from any queue: reads wait on the object's own
// serial queue, writes are queued on it, so a read after a write on one thread sees the write.
// `urls` and `bundleNames` are filled by the thread that builds the object, before it is shared.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/foundation/URL.h"
#include "Core/platform/Dispatch.h"

#include <optional>
#include <unordered_set>
#include <vector>

namespace core {

using CaseInsensitiveSet = std::unordered_set<CaseInsensitiveString>;

class MacApp : public std::enable_shared_from_this<MacApp> {
public:
    static std::shared_ptr<MacApp> make(CaseInsensitiveString bundleID,
                                        std::optional<CaseInsensitiveString> organization);

    const CaseInsensitiveString bundleID;
    std::vector<URL> urls;
    CaseInsensitiveSet bundleNames;
    const std::optional<CaseInsensitiveString> organization;

    CaseInsensitiveSet bundleIDs() const;
    void setBundleIDs(CaseInsensitiveSet ids);
    const std::string& queueLabel() const { return lockQueue_->label(); }

private:
    MacApp(CaseInsensitiveString bundleID, std::optional<CaseInsensitiveString> organization);
    CaseInsensitiveSet bundleIDs_;
    DispatchQueuePtr lockQueue_;
};

} // namespace core
