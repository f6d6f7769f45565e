// Drives AppFileFinder as the application would, for the subcommands that list applications,
// their files and leftovers: starts each step, pumps the main queue until the step's last
// delegate call, and keeps what came.
#pragma once

#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"

#include "Core/apps/AppFileFinder.h"

#include <map>

namespace tidewell {

class AppScanSession final : public core::AppFileFinderDelegate, public core::LeftoverFileFinderDelegate {
public:
    // Refuses, as bad input, a rule document or public suffix list that cannot be loaded.
    static std::shared_ptr<AppScanSession> make(bool quiet);

    // The installed applications, sub-applications removed.
    const core::AppBundles& scanApps();
    // The files of the given applications, by identifier.
    const std::map<std::string, core::AppFileSet>& scanFiles(const core::AppBundles& apps);
    std::vector<core::CaseInsensitiveString> scanLeftoverIDs(const std::vector<std::string>& excluded);
    const std::map<std::string, std::vector<core::AppFile>>&
    scanLeftoverFiles(const std::vector<core::CaseInsensitiveString>& ids);

    std::vector<core::CaseInsensitiveString> subApps;

    void appFound(const core::CaseInsensitiveString& id, const core::URL& url) override;
    void deleteSubAppFound(const core::CaseInsensitiveString& id) override { subApps.push_back(id); }
    void appsFound(const core::AppBundles& apps) override;
    void appFilesFound(const core::CaseInsensitiveString& id, const core::AppFileSet& set) override;
    void scanAppsCompleted() override { completion_.mark(); }
    void leftoverIDFound(const core::CaseInsensitiveString& id) override { leftoverIDs_.push_back(id); }
    void leftoversListCompleted() override { completion_.mark(); }
    void leftoverFilesFound(const core::CaseInsensitiveString& id,
                            const std::vector<core::AppFile>& files) override;
    void leftoverFilesCompleted() override { completion_.mark(); }

private:
    explicit AppScanSession(bool quiet) : progress_(quiet) {}
    void waitForStep();

    ProgressLine progress_;
    std::shared_ptr<core::AppFileFinder> finder_;
    ScanCompletion completion_;
    core::AppBundles apps_;
    std::map<std::string, core::AppFileSet> files_;
    std::vector<core::CaseInsensitiveString> leftoverIDs_;
    std::map<std::string, std::vector<core::AppFile>> leftoverFiles_;
};

// {"path": P, "size": N} of each bundle, and the files grouped by kind with their totals.
void printAppFiles(const std::string& id, const core::AppFileSet& set);
void printFilesByKind(const std::vector<core::AppFile>& files);

} // namespace tidewell
