#include "Core/duplicates/DFFDuplicateFileFinder.h"

#include "Core/foundation/Analytics.h"
#include "Core/platform/CurrentProcess.h"
#include "dff/DuplicateFileFinder.h"

#include <memory>

namespace core {
namespace {

std::vector<dff::Path> pathsOf(const std::vector<URL>& urls) {
    std::vector<dff::Path> paths;
    for (const auto& url : urls)
        paths.emplace_back(url.path());
    return paths;
}

DFFGroups convertResult(const dff::Groups& groups) {
    DFFGroups converted;
    for (const auto& group : groups) {
        auto& files = converted.emplace_back();
        for (const dff::File* entry : group) {
            if (!entry)
                continue;
            DFFFile file{URL::fileURL(entry->path().str()), entry->size, std::nullopt};
            if (entry->kind == dff::File::Kind::photo)
                file.photoID = static_cast<const dff::Photo*>(entry)->id;
            files.push_back(std::move(file));
        }
    }
    return converted;
}

} // namespace

DFFDuplicateFileFinder::DFFDuplicateFileFinder()
    : engine_(std::make_unique<dff::DuplicateFileFinder>(
          [this](double value) { progress(value); },
          [this](const dff::Path& path) { current(URL::fileURL(path.str())); })) {
    // What the walk could not read is a warning: the search goes on without it.
    engine_->log = [](const std::string& line) { analytics()->log(line, 3); };
}

DFFDuplicateFileFinder::~DFFDuplicateFileFinder() = default;

void DFFDuplicateFileFinder::setRootFolderURLs(const std::vector<URL>& urls) {
    engine_->rootFolders = pathsOf(urls);
}

void DFFDuplicateFileFinder::setExcludePaths(const std::vector<URL>& urls) {
    engine_->excludePaths = pathsOf(urls);
}

void DFFDuplicateFileFinder::setExcludeExtensions(const std::vector<std::string>& extensions) {
    engine_->excludeExtensions = extensions;
}

void DFFDuplicateFileFinder::setIncludeHiddenFolders(bool include) {
    engine_->includeHiddenFolders = include;
}

void DFFDuplicateFileFinder::setMinFileSize(std::int64_t bytes) {
    engine_->minFileSize = bytes;
}

DFFResult DFFDuplicateFileFinder::find(bool isOnlyDuplicates) {
    dff::Groups duplicates, similar;
    engine_->find(duplicates, similar, isOnlyDuplicates);
    DFFResult result{convertResult(duplicates), convertResult(similar)};
    duplicates.clear();
    similar.clear();
    engine_->releaseFiles();
    // A search of a large tree has just freed its whole model at once, mostly in the arena of the
    // thread it ran on; hand those pages back rather than keep them for a next search.
    trimMemory();
    return result;
}

void DFFDuplicateFileFinder::stop() {
    engine_->stop();
}

} // namespace core
