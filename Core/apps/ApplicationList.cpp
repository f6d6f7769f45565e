#include "Core/apps/ApplicationList.h"

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/platform/FileStatus.h"
#include "Core/platform/FolderReader.h"
#include "Core/platform/MetadataQuery.h"
#include "Core/platform/Process.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"

#include <algorithm>
#include <set>

namespace core {
namespace {

constexpr int folderWalkDepth = 3;

bool hasAppExtension(const std::string& name) {
    return name.size() > 4 &&
           CaseInsensitiveString(name.substr(name.size() - 4)) == CaseInsensitiveString(".app");
}

std::string trimmed(const std::string& text) {
    auto first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::vector<std::string> applicationFolders() {
    const auto& paths = SystemPaths::shared();
    return {paths.resolve("/Applications"), paths.inHome("Applications")};
}

// The index's answer for application bundles in the applications folders and the home folder.
void addFromIndex(std::set<std::string>& found) {
    auto query = MetadataQuery::make();
    query->setPredicate(MetadataPredicate::parse("kMDItemContentType == 'com.apple.application-bundle'"));
    auto scopes = applicationFolders();
    scopes.push_back(SystemPaths::shared().home());
    query->setSearchScopes(scopes);
    query->setOperationQueue(OperationQueue::make("applicationURLs", 1));
    DispatchSemaphore finished(0);
    query->setDidFinishGathering([&] { finished.signal(); });
    if (!query->startQuery())
        return;
    finished.wait();
    query->setDidFinishGathering(nullptr);
    for (const auto& item : query->results())
        found.insert(item.path());
}

// Symbolic links stand for aliases: one that leads to an application bundle counts as that bundle.
void walkFolder(const std::string& folder, int depth, std::set<std::string>& found) {
    for (const auto& entry : listFolder(folder)) {
        if (entry.name[0] == '.')
            continue;
        std::string path = folder + "/" + entry.name;
        if (entry.kind == FileKind::symbolicLink) {
            // An alias leads where the volume says, which the listing, reading the host, cannot tell.
            auto target = SystemPaths::shared().realPath(path);
            if (target && leadsToFolder(*target) && hasAppExtension(*target))
                found.insert(*target);
        } else if (entry.isDirectory && hasAppExtension(path)) {
            found.insert(path);
        } else if (entry.isDirectory && depth > 1) {
            walkFolder(path, depth - 1, found);
        }
    }
}

std::vector<URL> without(const std::set<std::string>& found, const std::vector<URL>& excluding) {
    std::vector<URL> urls;
    for (const auto& path : found) {
        auto url = URL::fileURL(path);
        if (std::find(excluding.begin(), excluding.end(), url) == excluding.end())
            urls.push_back(url);
    }
    return urls;
}

} // namespace

std::vector<URL> applicationURLs(const std::vector<URL>& excluding) {
    std::set<std::string> found;
    addFromIndex(found);
    for (const auto& folder : applicationFolders())
        walkFolder(folder, folderWalkDepth, found);
    return without(found, excluding);
}

std::vector<std::string> registeredApplicationIDs() {
    TaskStatus status;
    std::string dump = taskSyncRunner(launchServicesRegister, {"-dump", "BundleIDBinding"}, status);
    std::vector<std::string> ids;
    if (!status.succeeded())
        return ids;
    for (const auto& line : splitDroppingEmpty(dump, '\n')) {
        auto separator = line.find(": ");
        std::string id = separator == std::string::npos ? "" : trimmed(line.substr(separator + 2));
        if (!id.empty())
            ids.push_back(std::move(id));
    }
    return ids;
}

bool passesApplicationPathFilter(const std::string& path) {
    if (path.find("/.") != std::string::npos)
        return false;
    std::string lowered = CaseInsensitiveString(path).lowercaseString();
    for (const char* marker :
         {"/applications (parallels)/", ".vmwarevm/", ".pvm/", "framework/", ".app/", ".bundle/"})
        if (lowered.find(marker) != std::string::npos)
            return false;
    return true;
}

std::vector<URL> filteredApplicationURLs(const std::vector<URL>& excluding) {
    auto urls = applicationURLs(excluding);
    std::erase_if(urls, [](const URL& url) { return !passesApplicationPathFilter(url.path()); });
    return urls;
}

} // namespace core
