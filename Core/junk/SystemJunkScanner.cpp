#include "Core/junk/SystemJunkScanner.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"
#include "Core/junk/JunkDiagnostics.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/SystemPaths.h"

#include <array>
#include <memory>
#include <unicode/regex.h>

namespace core {
namespace {

// Caches the system itself relies on, or that belong to backup and colour management.
const std::array<std::string, 7> sparedCacheNames = {
    "CrashPlan",
    "ColorSync",
    "com.apple.desktop.admin.png",
    "Desktop Pictures",
    "com.apple.aned",
    "com.apple.aneuserd",
    "com.apple.amsengagementd.classicdatavault",
};

const std::array<std::string, 5> logStems = {"install", "system", "wifi", "fsck_apfs", "fsck_hfs"};
const std::array<std::string, 3> fixedVarLogNames = {"asl", "DiagnosticMessages", "daily.out"};

template <std::size_t N> bool contains(const std::array<std::string, N>& names, const std::string& name) {
    for (const auto& candidate : names)
        if (candidate == name)
            return true;
    return false;
}

bool exists(const std::string& path) {
    return fileStatus(path).has_value();
}

// A stem, then nothing or a non-letter and anything, then ".log" and an optional rotation number
// with ".gz". Case-sensitive: "systemstats.log" belongs to another service.
const icu::RegexPattern* varLogPattern() {
    static const icu::RegexPattern* pattern = [] {
        std::string text = "^(?:";
        for (std::size_t i = 0; i < logStems.size(); ++i)
            text += (i ? "|" : "") + logStems[i];
        text += ")(?:[^A-Za-z].+?)?\\.log(?:\\d+\\.gz)?$";
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError;
        auto* compiled =
            icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(text), 0, parseError, status);
        return U_SUCCESS(status) ? compiled : nullptr;
    }();
    return pattern;
}

// Goes through one folder entry by entry, splitting around excluded files. False when the scan
// was interrupted.
template <class Skip>
bool reportEntries(const std::string& folder, const JunkExclusions& exclusions, Skip skip,
                   JunkCategoryTally& tally, const FoundFile& found) {
    std::error_code error;
    auto entries = listFolderOrReport(URL::fileURL(folder), URLFileSizeKey | URLIsDirectoryKey, error);
    for (const auto& entry : entries) {
        if (FileFinderContext::currentIsInterrupted())
            return false;
        if (skip(*entry.resourceValues.name) || exclusions.excludes(entry.url))
            continue;
        for (const auto& piece : exclusions.urlsWithoutExcluded(entry.url))
            tally.report({piece, size(piece)}, found);
    }
    return !FileFinderContext::currentIsInterrupted();
}

void reportIfPresent(const std::string& path, JunkCategoryTally& tally, const FoundFile& found) {
    if (exists(path))
        tally.report({URL::fileURL(path), size(URL::fileURL(path))}, found);
}

// The rotated logs of "/private/var/log". False when the scan was interrupted.
bool reportVarLogs(JunkCategoryTally& tally, const FoundFile& found) {
    std::error_code error;
    auto entries = listFolderOrReport(URL::fileURL(SystemPaths::shared().resolve("/private/var/log")),
                                      URLFileSizeKey | URLIsDirectoryKey | URLNameKey, error);
    if (error || !varLogPattern())
        return true;
    for (const auto& entry : entries) {
        if (FileFinderContext::currentIsInterrupted())
            return false;
        if (!entry.resourceValues.name ||
            !SystemJunkScanner::isRemovableVarLogName(*entry.resourceValues.name))
            continue;
        tally.report({entry.url, size(entry.url, entry.resourceValues)}, found);
    }
    return true;
}

} // namespace

bool SystemJunkScanner::isRemovableVarLogName(const std::string& name) {
    if (contains(fixedVarLogNames, name))
        return true;
    const auto* pattern = varLogPattern();
    if (!pattern)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(icu::UnicodeString::fromUTF8(name), status));
    return U_SUCCESS(status) && matcher->find(status) && U_SUCCESS(status);
}

void SystemJunkScanner::scanSystemCaches(const JunkExclusions& exclusions, const FoundFile& found) {
    if (FileFinderContext::currentIsInterrupted())
        return;
    JunkCategoryTally tally;
    auto spared = [](const std::string& name) { return contains(sparedCacheNames, name); };
    if (!reportEntries(SystemPaths::shared().localCaches(), exclusions, spared, tally, found))
        return;
    reportIfPresent(SystemPaths::shared().resolve("/System/Library/Caches/com.apple.coresymbolicationd"),
                    tally, found);
    tally.sendEvent("systemCache");
}

void SystemJunkScanner::scanSystemLogs(const JunkExclusions& exclusions, const FoundFile& found) {
    if (FileFinderContext::currentIsInterrupted())
        return;
    JunkCategoryTally tally;
    auto sparesNothing = [](const std::string&) { return false; };
    if (!reportEntries(SystemPaths::shared().resolve("/Library/Logs"), exclusions, sparesNothing, tally,
                       found))
        return;
    reportIfPresent(SystemPaths::shared().resolve("/private/var/db/diagnostics"), tally, found);
    if (!reportVarLogs(tally, found))
        return;
    tally.sendEvent("systemLog");
}

} // namespace core
