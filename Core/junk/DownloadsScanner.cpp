#include "Core/junk/DownloadsScanner.h"

#include "Core/foundation/Analytics.h"
#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"
#include "Core/platform/SystemPaths.h"

#include <set>

namespace core {
namespace {

constexpr int mailWalkDepth = 5;

// Below the user's Library folder. "Mail" keeps messages beside their "Attachments" folders and is
// searched for those; the other clients keep nothing but attachments in theirs.
const std::vector<std::pair<std::string, bool>> mailClientFolders = {
    {"Containers/com.apple.mail/Data/Library/Mail Downloads", false},
    {"Mail", true},
    {"Group Containers/3L68KQB4HG.group.com.readdle.smartemail/databases/messagesData", false},
    {"Containers/com.readdle.SparkDesktop.appstore/Data/Library/Caches/Spark Desktop/messagesData", false},
    {"Containers/com.microsoft.Outlook/Data/tmp/Outlook Temp", false},
    {"Group Containers/UBF8T346G9.Office/Outlook/Outlook 15 Profiles/Main Profile/Files", false},
};

std::vector<URLResource> listWithSizes(const URL& folder, std::error_code& error) {
    return listFolderOrReport(folder, URLFileSizeKey | URLIsDirectoryKey, error);
}

void reportEntry(const URLResource& entry, JunkCategoryTally& tally, const FoundFile& found) {
    tally.report({entry.url, size(entry.url, entry.resourceValues)}, found);
}

class MailSearch {
public:
    MailSearch(const JunkExclusions& exclusions, JunkCategoryTally& tally, const FoundFile& found)
        : exclusions_(exclusions), tally_(tally), found_(found) {}

    // Reports every file down to `depth` levels; deeper ones are not looked at.
    void walk(const URL& folder, int depth) {
        std::error_code error;
        auto entries = listWithSizes(folder, error);
        if (error || depth <= 0)
            return;
        for (const auto& entry : entries) {
            if (FileFinderContext::currentIsInterrupted())
                return;
            if (exclusions_.excludes(entry.url))
                continue;
            if (entry.resourceValues.isDirectory.value_or(false))
                walk(entry.url, depth - 1);
            else
                reportEntry(entry, tally_, found_);
        }
    }

    // Reports each entry whose path names "Attachments" as one item, and looks no deeper there.
    void searchAttachments(const URL& folder) {
        std::error_code error;
        for (const auto& entry : listWithSizes(folder, error)) {
            if (FileFinderContext::currentIsInterrupted())
                return;
            if (exclusions_.excludes(entry.url))
                continue;
            if (entry.url.path().find("Attachments") != std::string::npos)
                reportEntry(entry, tally_, found_);
            else if (entry.resourceValues.isDirectory.value_or(false))
                searchAttachments(entry.url);
        }
    }

private:
    const JunkExclusions& exclusions_;
    JunkCategoryTally& tally_;
    const FoundFile& found_;
};

} // namespace

void DownloadsScanner::scanDownloads(const JunkExclusions& exclusions, const FoundFile& found) {
    if (FileFinderContext::currentIsInterrupted())
        return;
    JunkCategoryTally tally;
    auto downloads = SystemPaths::shared().downloadsFolder();
    if (!downloads.refused.empty())
        analytics()->log(
            "[Downloads] refused_folder fallback=" + downloads.path + " path=" + downloads.refused, 3);
    std::error_code error;
    auto entries = listWithSizes(URL::fileURL(downloads.path), error);
    for (const auto& entry : entries) {
        if (FileFinderContext::currentIsInterrupted())
            return;
        if (exclusions.excludes(entry.url) || entry.url.lastPathComponent() == ".localized")
            continue;
        reportEntry(entry, tally, found);
    }
    tally.sendEvent("downloads");
}

void DownloadsScanner::scanMailDownloads(const JunkExclusions& exclusions, const FoundFile& found) {
    if (FileFinderContext::currentIsInterrupted())
        return;
    JunkCategoryTally tally;
    MailSearch search(exclusions, tally, found);
    std::set<std::string> seen;
    auto library = URL::fileURL(SystemPaths::shared().userLibrary());
    for (const auto& [path, holdsMessages] : mailClientFolders) {
        auto folder = library.appendingPathComponent(path);
        if (!seen.insert(folder.path()).second)
            continue;
        if (holdsMessages)
            search.searchAttachments(folder);
        else
            search.walk(folder, mailWalkDepth);
        if (FileFinderContext::currentIsInterrupted())
            return;
    }
    tally.sendEvent("mailDownload");
}

} // namespace core
