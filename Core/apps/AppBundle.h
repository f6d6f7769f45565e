// An installed application as the scans describe it: its bundle identifier, the identifiers of
// what is nested in it (helpers, extensions, plug-ins, frameworks) and its names. A desktop
// application is a MacAppBundle; a wrapper around a mobile application is a WrappedBundle, known
// by the name of its data container, which IOSAppUUIDMapper finds.
//
// Threading: a bundle is built and loaded by one thread, then only read. IOSAppUUIDMapper and
// AppBundleLoader may be used from several threads.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/foundation/URL.h"

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace core {

class AppBundle {
public:
    virtual ~AppBundle() = default;
    virtual const URL& url() const = 0;
    virtual const CaseInsensitiveString& bundleID() const = 0;
    virtual const std::vector<CaseInsensitiveString>& bundleIDs() const = 0;
    virtual const std::vector<CaseInsensitiveString>& bundleNames() const = 0;
    // Fills bundleIDs and bundleNames from what is nested in the bundle.
    virtual void loadSubBundles() = 0;
};

using AppBundles = std::unordered_map<CaseInsensitiveString, std::vector<std::shared_ptr<AppBundle>>>;

// What both kinds of bundle keep.
class StoredAppBundle : public AppBundle {
public:
    const URL& url() const override { return url_; }
    const CaseInsensitiveString& bundleID() const override { return bundleID_; }
    const std::vector<CaseInsensitiveString>& bundleIDs() const override { return bundleIDs_; }
    const std::vector<CaseInsensitiveString>& bundleNames() const override { return bundleNames_; }

protected:
    URL url_;
    CaseInsensitiveString bundleID_;
    std::vector<CaseInsensitiveString> bundleIDs_;
    std::vector<CaseInsensitiveString> bundleNames_;
};

class MacAppBundle final : public StoredAppBundle {
public:
    // Absent unless the folder is an application-like bundle: an identifier, an information
    // dictionary, and an executable in "Contents/MacOS".
    static std::shared_ptr<MacAppBundle> make(const URL& url);
    void loadSubBundles() override;
};

// Maps bundle identifiers of wrapped applications to the names of their data containers.
class IOSAppUUIDMapper {
public:
    // The container of the identifier; a fresh unique text, that matches no container, when there
    // is none.
    CaseInsensitiveString uuid(const CaseInsensitiveString& bundleID);
    void clear();

private:
    std::mutex lock_;
    std::unordered_map<CaseInsensitiveString, CaseInsensitiveString> uuids_;
};

class WrappedBundle final : public AppBundle {
public:
    // Absent unless the folder lies in "/Applications/" and holds a "WrappedBundle" with an
    // identifier.
    static std::shared_ptr<WrappedBundle> make(const URL& url,
                                               const std::shared_ptr<IOSAppUUIDMapper>& uuidMapper);

    const URL& url() const override { return url_; }
    const CaseInsensitiveString& bundleID() const override { return bundleID_; }
    const std::vector<CaseInsensitiveString>& bundleIDs() const override { return bundleIDs_; }
    const std::vector<CaseInsensitiveString>& bundleNames() const override { return bundleNames_; }
    void loadSubBundles() override;

private:
    URL url_;
    CaseInsensitiveString bundleID_;
    std::vector<CaseInsensitiveString> bundleIDs_;
    std::vector<CaseInsensitiveString> bundleNames_;
    std::shared_ptr<IOSAppUUIDMapper> uuidMapper_;
};

class AppBundleLoader {
public:
    // A desktop application first, a wrapped one otherwise.
    std::shared_ptr<AppBundle> load(const URL& url) const;
    const std::shared_ptr<IOSAppUUIDMapper> uuidMapper = std::make_shared<IOSAppUUIDMapper>();
};

// Whether the path is under system integrity protection (it carries "com.apple.rootless", kept
// on Linux as the user attribute "user.com.apple.rootless").
bool rootless(const URL& url);

} // namespace core
