#include "Core/foundation/JunkExclusions.h"

#include "Core/foundation/FileManager.h"
#include "Core/platform/ConfinedPath.h"
#include "Core/platform/FileStatus.h"

namespace core {
namespace {

bool exists(const URL& url) {
    return fileStatus(url.path()).has_value();
}

// Lists each folder from `top` down to the parent of `excluded`, keeping every entry except the
// one that leads on down.
std::vector<URL> siblingsAlongTheWay(const URL& top, const URL& excluded) {
    std::vector<URL> siblings;
    URL folder = top;
    std::string rest = excluded.path().substr(top.path() == "/" ? 1 : top.path().size() + 1);
    while (!rest.empty()) {
        auto slash = rest.find('/');
        std::string next = rest.substr(0, slash);
        rest = slash == std::string::npos ? std::string() : rest.substr(slash + 1);
        std::error_code error;
        for (auto& entry : urlResources(folder, URLNameKey, error))
            if (entry.resourceValues.name != next)
                siblings.push_back(entry.url);
        folder = folder.appendingPathComponent(next);
    }
    return siblings;
}

} // namespace

JunkExclusions::JunkExclusions(const std::vector<URL>& excluded) {
    for (const auto& url : excluded)
        excluded_.push_back(URL::fileURL(lexicallyNormal(url.path())));
}

bool JunkExclusions::excludes(const URL& entry) const {
    for (const auto& excluded : excluded_)
        if (isSameOrInside(entry.path(), excluded.path()))
            return true;
    return false;
}

std::vector<URL> JunkExclusions::urlsWithoutExcluded(const URL& url) const {
    const URL* shortest = nullptr;
    for (const auto& excluded : excluded_) {
        if (excluded.path() == url.path() || !isSameOrInside(excluded.path(), url.path()) ||
            !exists(excluded))
            continue;
        if (!shortest || excluded.path().size() < shortest->path().size())
            shortest = &excluded;
    }
    if (!shortest)
        return {url};
    return siblingsAlongTheWay(url, *shortest);
}

} // namespace core
