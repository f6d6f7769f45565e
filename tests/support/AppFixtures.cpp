#include "tests/support/AppFixtures.h"

#include <filesystem>
#include <fstream>

namespace core::testing {

void writePlist(const std::string& path, const std::map<std::string, std::string>& strings) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : strings)
        out << "  <key>" << key << "</key>\n  <string>" << value << "</string>\n";
    out << "</dict>\n</plist>\n";
}

std::string writeBundle(const TempTree& tree, const std::string& relative, const std::string& bundleID,
                        const std::string& name) {
    std::string executable = name.empty() ? "main" : name;
    std::map<std::string, std::string> info = {{"CFBundleIdentifier", bundleID},
                                               {"CFBundleExecutable", executable}};
    if (!name.empty())
        info["CFBundleName"] = name;
    writePlist(tree.at(relative + "/Contents/Info.plist"), info);
    tree.file(relative + "/Contents/MacOS/" + executable, 1000);
    return tree.at(relative);
}

} // namespace core::testing
