#include "Core/foundation/URL.h"

#include "Core/platform/ConfinedPath.h"
#include "Core/platform/Text.h"

namespace core {

URL URL::fileURL(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return URL(std::move(path));
}

std::string URL::lastPathComponent() const {
    auto slash = path_.rfind('/');
    if (slash == std::string::npos || path_ == "/")
        return path_;
    return path_.substr(slash + 1);
}

std::string URL::pathExtension() const {
    return extensionOf(lastPathComponent());
}

URL URL::appendingPathComponent(const std::string& component) const {
    if (path_.empty() || path_ == "/")
        return fileURL("/" + component);
    return fileURL(path_ + "/" + component);
}

URL URL::deletingLastPathComponent() const {
    auto slash = path_.rfind('/');
    if (slash == std::string::npos)
        return URL();
    return fileURL(slash == 0 ? "/" : path_.substr(0, slash));
}

bool isSameOrInside(const std::string& path, const std::string& ancestor) {
    return isSameOrBelow(path, ancestor);
}

} // namespace core
