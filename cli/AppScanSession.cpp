#include "cli/AppScanSession.h"

#include "cli/Command.h"
#include "cli/JsonRecords.h"
#include "cli/Resources.h"

#include <iostream>

namespace tidewell {
std::shared_ptr<AppScanSession> AppScanSession::make(bool quiet) {
    requireApplicationResources();
    std::shared_ptr<AppScanSession> session(new AppScanSession(quiet));
    session->finder_ = core::AppFileFinder::make();
    session->finder_->delegate = session;
    session->finder_->leftoverDelegate = session;
    return session;
}

void AppScanSession::waitForStep() {
    completion_.wait();
    progress_.finish();
}

const core::AppBundles& AppScanSession::scanApps() {
    finder_->scan();
    waitForStep();
    return apps_;
}

const std::map<std::string, core::AppFileSet>& AppScanSession::scanFiles(const core::AppBundles& apps) {
    finder_->startScanAppFiles(apps);
    waitForStep();
    return files_;
}

std::vector<core::CaseInsensitiveString>
AppScanSession::scanLeftoverIDs(const std::vector<std::string>& excluded) {
    finder_->excludeLeftoverIds = excluded;
    finder_->startScanLeftoversList();
    waitForStep();
    std::sort(leftoverIDs_.begin(), leftoverIDs_.end());
    return leftoverIDs_;
}

const std::map<std::string, std::vector<core::AppFile>>&
AppScanSession::scanLeftoverFiles(const std::vector<core::CaseInsensitiveString>& ids) {
    finder_->startScanLeftoverFiles(ids);
    waitForStep();
    return leftoverFiles_;
}

void AppScanSession::appFound(const core::CaseInsensitiveString& id, const core::URL& url) {
    progress_.setCurrent(id.origin() + "  " + url.path());
}

void AppScanSession::appsFound(const core::AppBundles& apps) {
    apps_ = apps;
    completion_.mark();
}

void AppScanSession::appFilesFound(const core::CaseInsensitiveString& id, const core::AppFileSet& set) {
    progress_.setCurrent(id.origin());
    files_[id.origin()] = set;
}

void AppScanSession::leftoverFilesFound(const core::CaseInsensitiveString& id,
                                        const std::vector<core::AppFile>& files) {
    leftoverFiles_[id.origin()] = files;
}

void printFilesByKind(const std::vector<core::AppFile>& files) {
    std::map<std::string, std::vector<const core::AppFile*>> byKind;
    for (const auto& file : files)
        byKind[file.kind.key()].push_back(&file);
    for (const auto& [kind, group] : byKind) {
        std::int64_t total = 0;
        for (const auto* file : group)
            total += file->size;
        std::cout << "  " << kind << ": " << counted(group.size(), "item") << ", " << core::sizeString(total)
                  << '\n';
        for (const auto* file : group)
            std::printf("    %10s  %s  (%s %s)\n", file->sizeString().c_str(),
                        printable(file->url.path()).c_str(), ownerType(file->owner),
                        printable(file->owner.id().origin()).c_str());
    }
}

void printAppFiles(const std::string& id, const core::AppFileSet& set) {
    std::int64_t total = 0;
    for (const auto& app : set.apps)
        total += app.size;
    for (const auto& file : set.files)
        total += file.size;
    std::cout << printable(id) << "  (" << counted(set.files.size(), "file") << ", "
              << core::sizeString(total) << " with the bundles)\n";
    for (const auto& app : set.apps)
        std::printf("  bundle  %10s  %s\n", app.sizeString().c_str(), printable(app.url.path()).c_str());
    printFilesByKind(set.files);
}

} // namespace tidewell
