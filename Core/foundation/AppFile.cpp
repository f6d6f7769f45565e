#include "Core/foundation/AppFile.h"

#include <array>

namespace core {
namespace {

// In tag order; `other` has no fixed key.
constexpr std::array<const char*, 12> knownKeys = {
    "log",     "cache",      "container",    "support", "preference", "cookie",
    "library", "loginItems", "crashReports", "plugins", "shared",     "preferencePanes",
};

} // namespace

AppFileKind AppFileKind::fromKey(const std::string& key) {
    for (std::size_t tag = 0; tag < knownKeys.size(); ++tag)
        if (key == knownKeys[tag])
            return AppFileKind(static_cast<Tag>(tag));
    return other(key);
}

std::string AppFileKind::key() const {
    return tag_ == Tag::other ? payload_ : knownKeys[static_cast<std::size_t>(tag_)];
}

AppFile File::toAppFile(const AppFileKind& kind) const {
    return AppFile(url, kind, App::macApp(MacAppID::bundleID("")), size);
}

} // namespace core
