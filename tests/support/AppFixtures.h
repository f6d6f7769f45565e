// Application bundles on disk as a macOS volume holds them, for the tests of the application
// scans: an information dictionary in "Contents/Info.plist" and an executable in
// "Contents/MacOS".
#pragma once

#include "tests/support/TempTree.h"

#include "Core/platform/Process.h"

#include <map>
#include <string>

namespace core::testing {

// Writes an XML property list with string values.
void writePlist(const std::string& path, const std::map<std::string, std::string>& strings);

enum class PlistFormat { xml, binary };

// A property list of a dictionary with these string values and, when `depth` is positive, under
// "Nested" that many arrays each inside the one before.
std::string nestedPropertyList(PlistFormat format, const std::map<std::string, std::string>& strings,
                               int depth);

// Writes a bundle whose "Contents/Info.plist" holds `info` as given, with the executable "main";
// returns its absolute path.
std::string writeBundleWithInfo(const TempTree& tree, const std::string& relative, const std::string& info);

// Writes an application-like bundle at `relative` inside the tree; returns its absolute path.
std::string writeBundle(const TempTree& tree, const std::string& relative, const std::string& bundleID,
                        const std::string& name = "");

// Puts `program` in the place of a command for the life of the object.
class ScopedCommand {
public:
    ScopedCommand(std::string command, const std::string& program) : command_(std::move(command)) {
        CommandTable::shared().setReplacement(command_, program);
    }
    ~ScopedCommand() { CommandTable::shared().setReplacement(command_, ""); }
    ScopedCommand(const ScopedCommand&) = delete;
    ScopedCommand& operator=(const ScopedCommand&) = delete;

private:
    std::string command_;
};

// Writes an executable shell script with the given body; returns its absolute path.
std::string writeScript(const TempTree& tree, const std::string& relative, const std::string& body);

} // namespace core::testing
