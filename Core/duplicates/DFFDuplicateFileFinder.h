// The bridge between the duplicate engine and the library: it sets the engine's filters, runs a
// search on the calling thread, and turns the engine's groups into plain records, so that no
// pointer into the engine's entries leaves a search.
//
// Threading: each finder has an engine of its own, and runs one search at a time; stop() may come
// from any thread during a search.
#pragma once

#include "Core/foundation/URL.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dff {
class DuplicateFileFinder;
}

namespace core {

struct DFFFile {
    URL url;
    std::int64_t size = 0;
    // The library's identifier, for a photo of a photo library.
    std::optional<std::string> photoID;
};

using DFFGroups = std::vector<std::vector<DFFFile>>;

struct DFFResult {
    DFFGroups duplicateFiles;
    DFFGroups similarFiles;
};

class DFFDuplicateFileFinder {
public:
    DFFDuplicateFileFinder();
    virtual ~DFFDuplicateFileFinder();
    DFFDuplicateFileFinder(const DFFDuplicateFileFinder&) = delete;
    DFFDuplicateFileFinder& operator=(const DFFDuplicateFileFinder&) = delete;

    void setRootFolderURLs(const std::vector<URL>& urls);
    void setExcludePaths(const std::vector<URL>& urls);
    // Name endings as they are: no dot is added.
    void setExcludeExtensions(const std::vector<std::string>& extensions);
    void setIncludeHiddenFolders(bool include);
    void setMinFileSize(std::int64_t bytes);

    DFFResult find(bool isOnlyDuplicates);
    void stop();

protected:
    virtual void progress(double) {}
    virtual void current(const URL&) {}

private:
    std::unique_ptr<dff::DuplicateFileFinder> engine_;
};

} // namespace core
