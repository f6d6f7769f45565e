// What the application scans share: the installed bundles grouped by identifier, everything by
// which one application is recognised, and the test of a claimed file's owner id against it.
//
// Threading: runs on the scan's own queue; nothing here is shared between threads.
#pragma once

#include "Core/apps/AppBundle.h"
#include "Core/foundation/AppFile.h"
#include "Core/foundation/MacApp.h"
#include "Core/rules/FileFinder.h"

#include <functional>
#include <optional>

namespace core {

struct InstalledBundleFilter {
    // Only bundles below these folders; none means all.
    std::vector<std::string> roots;
    // Leaves out bundles below this folder.
    std::string excludedFolder;
    std::vector<URL> excludedURLs;
    std::vector<std::string> excludedIDs;
    // Leaves out system applications (under integrity protection) and the installer, automator and
    // browser bundles the system keeps: they are offered to no one.
    bool dropsSystemBundles = true;
};

// The installed application bundles that pass the filter, read and with their nested bundles
// loaded, grouped by identifier. `accepted` hears of each bundle taken.
AppBundles findInstalledBundles(const AppBundleLoader& loader, const InstalledBundleFilter& filter,
                                const std::function<void(const AppBundle&)>& accepted = {});

// Everything by which one application is recognised: its identifier, the identifiers of its nested
// bundles and of its rule, its names and its organisation (from its rule, or from the registrable
// part of its identifier).
std::shared_ptr<MacApp> makeMacApp(const std::vector<std::shared_ptr<AppBundle>>& bundles,
                                   const RuleManager& rules);

// Whose a claimed file is, for this application: the owner the claim's id names, if the id is
// one of the application's; the application itself when the claim names none; nothing when the id
// is another's.
std::optional<App> ownerFor(const MacApp& app, const CaseInsensitiveSet& bundleIDs, const OwnerID& id);

// Records of one walk that the application stage or scan keeps.
using AppFileInfos = std::vector<FileFinder::Record>;

// Walks the index for one application and keeps what is the application's: each claim whose id is
// one of its own is marked used, so that no leftover scan offers it, and kept if `keep` agrees.
// "/Library/Application Support/Apple" is marked but never kept.
AppFileInfos walkForApplication(FileFinder& finder, const AppFileRule& index, const MacApp& app,
                                const std::function<bool(const FileFinder::Record&)>& keep);

} // namespace core
