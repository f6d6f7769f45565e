// Resolving a path inside a folder that it must not leave: the root that stands for "/" when the
// library names its own folders on a mounted volume or a test tree, or the home folder when a
// user's settings name a folder in it. Each component is looked at on the disk, so a link can take
// the path elsewhere only inside that folder.
//
// Threading: reentrant; reads the disk on every call.
#pragma once

#include <optional>
#include <string>

namespace core {

// What a resolution does with a way out of its top folder.
enum class Escape {
    // ".." at the top stays at the top, and an absolute link target starts again from the top: the
    // top stands for "/".
    clamp,
    // A ".." above the top, or an absolute link target outside it, gives no result.
    refuse,
};

// `path`, read as seen from inside `top` (a leading "/" or none means the same), resolved component
// by component below `top`, every link on the way followed inside it. Components that do not exist
// are kept as written. Absent when a way out is refused or the links loop.
std::optional<std::string> resolveInside(const std::string& top, const std::string& path, Escape escape);

// The path without empty or "." components, with ".." taken against the component before it (at
// "/" it stays at "/") and without a trailing "/": "//a/./b/../c/" gives "/a/c". Nothing is read
// from the disk. A relative path stays relative, "." when nothing is left.
std::string lexicallyNormal(const std::string& path);

// True when `path` is `folder` or lies below it, by whole components.
bool isSameOrBelow(const std::string& path, const std::string& folder);

} // namespace core
