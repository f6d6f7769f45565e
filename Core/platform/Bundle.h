// A folder read as a bundle: its information dictionary ("Contents/Info.plist", or "Info.plist"
// at the top of a flat bundle), its identifier and its executable.
//
// Threading: a plain value; reading is reentrant.
#pragma once

#include "Core/platform/PropertyList.h"

#include <optional>
#include <string>

namespace core {

class Bundle {
public:
    // Absent when the folder holds no information dictionary; `problem`, if given, says why. A
    // dictionary refused for its size or depth is not replaced by one at the top of the folder.
    static std::optional<Bundle> open(const std::string& path, PlistProblem* problem = nullptr);

    const std::string& path() const { return path_; }
    const PlistDictionary& infoDictionary() const { return info_; }
    std::optional<std::string> bundleIdentifier() const { return stringValue(info_, "CFBundleIdentifier"); }
    // "Contents/MacOS/" + CFBundleExecutable (or beside the dictionary of a flat bundle), when
    // that file exists.
    std::optional<std::string> executablePath() const;

private:
    static std::optional<Bundle> read(const std::string& path, PlistProblem& problem);

    std::string path_;
    PlistDictionary info_;
    bool flat_ = false;
};

// A folder with a "Contents/Info.plist".
bool isValidBundleURL(const std::string& path);

// The name the user sees: the last component without a ".app" extension.
std::string displayNameAtPath(const std::string& path);

} // namespace core
