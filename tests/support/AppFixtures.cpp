#include "tests/support/AppFixtures.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <plist/plist.h>

namespace core::testing {
namespace {

std::string xmlPropertyList(const std::map<std::string, std::string>& strings, int depth) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : strings)
        text += "  <key>" + key + "</key>\n  <string>" + value + "</string>\n";
    if (depth > 0) {
        text += "  <key>Nested</key>\n";
        for (int level = 0; level < depth; ++level)
            text += "<array>";
        for (int level = 0; level < depth; ++level)
            text += "</array>";
        text += "\n";
    }
    return text + "</dict>\n</plist>\n";
}

// The binary form of an XML list, as the library that reads both writes it.
std::string binaryPropertyList(const std::string& xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string binary(bytes, length);
    std::free(bytes);
    plist_free(root);
    return binary;
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace

void writePlist(const std::string& path, const std::map<std::string, std::string>& strings) {
    writeBytes(path, xmlPropertyList(strings, 0));
}

std::string nestedPropertyList(PlistFormat format, const std::map<std::string, std::string>& strings,
                               int depth) {
    auto xml = xmlPropertyList(strings, depth);
    return format == PlistFormat::xml ? xml : binaryPropertyList(xml);
}

std::string writeBundleWithInfo(const TempTree& tree, const std::string& relative, const std::string& info) {
    writeBytes(tree.at(relative + "/Contents/Info.plist"), info);
    tree.file(relative + "/Contents/MacOS/main", 1000);
    return tree.at(relative);
}

std::string writeScript(const TempTree& tree, const std::string& relative, const std::string& body) {
    auto path = tree.at(relative);
    writeBytes(path, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
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
