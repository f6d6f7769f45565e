// Small text operations several services share: validating outside bytes as UTF-8, splitting
// identifiers and paths into their pieces, a name's extension, and fresh unique texts.
//
// Threading: reentrant; makeUUIDString keeps one generator per thread.
#pragma once

#include <string>
#include <vector>

namespace core {

bool isValidUtf8(const std::string& bytes);

// The pieces between separators, empty ones dropped: "a..b." gives "a", "b".
std::vector<std::string> splitDroppingEmpty(const std::string& text, char separator);

// The text after the last dot of a name, or empty; a leading dot starts no extension.
std::string extensionOf(const std::string& name);

// The folder holding a path and its last name, trailing slashes ignored: "/a/b/" gives "/a" and
// "b"; a bare name is in ".".
struct PathParts {
    std::string folder;
    std::string name;
};
PathParts splitLastComponent(std::string path);

// A random (version 4) UUID in upper-case text.
std::string makeUUIDString();

} // namespace core
