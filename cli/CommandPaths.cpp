#include "cli/CommandPaths.h"

#include "cli/Command.h"

#include "Core/platform/ConfinedPath.h"

#include <filesystem>

namespace tidewell {

std::optional<core::URL> commandLineURL(const std::string& path) {
    if (path.empty())
        return std::nullopt;
    if (path.front() == '/')
        return core::URL::fileURL(core::lexicallyNormal(path));
    std::error_code error;
    auto workingFolder = std::filesystem::current_path(error);
    if (error)
        throw UsageError("the working folder cannot be read for " + path + ": " + error.message());
    return core::URL::fileURL(core::lexicallyNormal(workingFolder.string() + "/" + path));
}

std::vector<core::URL> commandLineURLs(const std::vector<std::string>& paths) {
    std::vector<core::URL> urls;
    for (const auto& path : paths) {
        auto url = commandLineURL(path);
        if (!url)
            throw UsageError("an empty path names no file");
        urls.push_back(*url);
    }
    return urls;
}

} // namespace tidewell
