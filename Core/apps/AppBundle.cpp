#include "Core/apps/AppBundle.h"

#include "Core/foundation/Analytics.h"
#include "Core/platform/Bundle.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/FolderReader.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"

#include <deque>
#include <random>

namespace core {
namespace {

struct Identity {
    CaseInsensitiveString bundleID;
    CaseInsensitiveString name;
};

// A bundle whose dictionary was refused for its size or depth is passed over like any unreadable
// one, but said, since it is what an attacker or a broken build leaves behind.
std::optional<Bundle> openBundle(const std::string& path) {
    PlistProblem problem = PlistProblem::none;
    auto bundle = Bundle::open(path, &problem);
    if (!bundle && isRefusal(problem))
        analytics()->log("[AppBundle] skipped " + path + ": " + describe(problem), 2);
    return bundle;
}

// An application-like bundle: an identifier, and an executable in a "MacOS" folder.
std::optional<Identity> identify(const std::string& path) {
    if (!isValidBundleURL(path))
        return std::nullopt;
    auto bundle = openBundle(path);
    if (!bundle)
        return std::nullopt;
    auto identifier = bundle->bundleIdentifier();
    auto executable = bundle->executablePath();
    if (!identifier || !executable)
        return std::nullopt;
    auto url = URL::fileURL(*executable);
    auto folder = url.deletingLastPathComponent();
    if (folder.lastPathComponent() != "MacOS" || std::count(executable->begin(), executable->end(), '/') < 3)
        return std::nullopt;
    auto name = stringValue(bundle->infoDictionary(), "CFBundleName").value_or(url.lastPathComponent());
    return Identity{*identifier, name};
}

bool contains(std::initializer_list<const char*> names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

std::shared_ptr<MacAppBundle> MacAppBundle::make(const URL& url) {
    auto identity = identify(url.path());
    if (!identity)
        return nullptr;
    auto bundle = std::make_shared<MacAppBundle>();
    bundle->url_ = url;
    bundle->bundleID_ = identity->bundleID;
    bundle->bundleNames_ = {identity->name, displayNameAtPath(url.path())};
    return bundle;
}

// Goes only where nested code is kept, never through a bundle's resources.
void MacAppBundle::loadSubBundles() {
    std::deque<std::string> folders = {url_.path() + "/Contents"};
    while (!folders.empty()) {
        std::string folder = std::move(folders.front());
        folders.pop_front();
        for (const auto& entry : listFolder(folder)) {
            if (!entry.isDirectory)
                continue;
            std::string path = folder + "/" + entry.name;
            std::string extension = extensionOf(entry.name);
            if (extension.empty()) {
                if (contains({"Frameworks", "MacOS", "Library", "LoginItems", "PlugIns", "Applications",
                              "XPCServices", "Developer", "SharedSupport"},
                             entry.name))
                    folders.push_back(path);
            } else if (extension == "framework") {
                for (const auto& version : listFolder(path + "/Versions"))
                    if (version.isDirectory)
                        folders.push_back(path + "/Versions/" + version.name);
            } else if (contains({"app", "appex", "xpc", "bundle", "qlgenerator", "mdimporter"}, extension)) {
                if (auto identity = identify(path)) {
                    bundleIDs_.push_back(identity->bundleID);
                    bundleNames_.push_back(identity->name);
                }
                folders.push_back(path + "/Contents");
            }
        }
    }
}

CaseInsensitiveString IOSAppUUIDMapper::uuid(const CaseInsensitiveString& bundleID) {
    {
        std::lock_guard lock(lock_);
        if (auto known = uuids_.find(bundleID); known != uuids_.end())
            return known->second;
    }
    std::string containers = SystemPaths::shared().inHome("Library/Containers");
    for (const auto& entry : listFolder(containers)) {
        {
            std::lock_guard lock(lock_);
            bool known = std::any_of(uuids_.begin(), uuids_.end(), [&](const auto& pair) {
                return pair.second == CaseInsensitiveString(entry.name);
            });
            if (known)
                continue;
        }
        auto metadata =
            readPlistContent(containers + "/" + entry.name + "/.com.apple.containermanagerd.metadata.plist");
        auto identifier = metadata ? stringValue(*metadata, "MCMMetadataIdentifier") : std::nullopt;
        if (!identifier)
            continue;
        std::lock_guard lock(lock_);
        uuids_.insert_or_assign(CaseInsensitiveString(*identifier), CaseInsensitiveString(entry.name));
    }
    std::lock_guard lock(lock_);
    if (auto known = uuids_.find(bundleID); known != uuids_.end())
        return known->second;
    return CaseInsensitiveString(makeUUIDString());
}

void IOSAppUUIDMapper::clear() {
    std::lock_guard lock(lock_);
    uuids_.clear();
}

std::shared_ptr<WrappedBundle> WrappedBundle::make(const URL& url,
                                                   const std::shared_ptr<IOSAppUUIDMapper>& uuidMapper) {
    std::string applications = SystemPaths::shared().resolve("/Applications") + "/";
    if (url.path().rfind(applications, 0) != 0 || !leadsToFolder(url.path()))
        return nullptr;
    auto wrapped = openBundle(url.path() + "/WrappedBundle");
    auto identifier = wrapped ? wrapped->bundleIdentifier() : std::nullopt;
    if (!identifier)
        return nullptr;
    auto bundle = std::make_shared<WrappedBundle>();
    bundle->url_ = url;
    bundle->uuidMapper_ = uuidMapper;
    bundle->bundleID_ = uuidMapper->uuid(*identifier);
    return bundle;
}

void WrappedBundle::loadSubBundles() {
    std::string plugIns = url_.path() + "/WrappedBundle/PlugIns";
    for (const auto& entry : listFolder(plugIns)) {
        if (!entry.isDirectory)
            continue;
        auto bundle = openBundle(plugIns + "/" + entry.name);
        if (auto identifier = bundle ? bundle->bundleIdentifier() : std::nullopt)
            bundleIDs_.push_back(uuidMapper_->uuid(*identifier));
    }
}

std::shared_ptr<AppBundle> AppBundleLoader::load(const URL& url) const {
    if (auto bundle = MacAppBundle::make(url))
        return bundle;
    return WrappedBundle::make(url, uuidMapper);
}

bool rootless(const URL& url) {
    return hasExtendedAttribute(url.path(), "user.com.apple.rootless");
}

} // namespace core
