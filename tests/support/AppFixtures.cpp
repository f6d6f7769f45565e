#include "tests/support/AppFixtures.h"

#include <filesystem>
#include <fstream>
#include <vector>

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

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string out;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
        out += static_cast<char>((value >> shift) & 0xff);
    return out;
}

// The binary form: every reference and offset takes four bytes, strings are ASCII.
std::string binaryPropertyList(const std::map<std::string, std::string>& strings, int depth) {
    constexpr int width = 4;
    std::vector<std::string> objects(1);
    std::string keyRefs, valueRefs;
    auto add = [&](std::string object) {
        objects.push_back(std::move(object));
        return bigEndian(objects.size() - 1, width);
    };
    auto string = [](const std::string& text) {
        std::string marker = text.size() < 15 ? std::string(1, static_cast<char>(0x50 | text.size()))
                                              : "\x5f\x10" + std::string(1, static_cast<char>(text.size()));
        return marker + text;
    };
    for (const auto& [key, value] : strings) {
        keyRefs += add(string(key));
        valueRefs += add(string(value));
    }
    if (depth > 0) {
        keyRefs += add(string("Nested"));
        valueRefs += bigEndian(objects.size(), width);
        for (int level = 1; level < depth; ++level)
            add("\xa1" + bigEndian(objects.size() + 1, width));
        add("\xa0");
    }
    std::size_t entries = strings.size() + (depth > 0 ? 1 : 0);
    objects[0] = std::string(1, static_cast<char>(0xd0 | 0x0f)) + "\x10" +
                 std::string(1, static_cast<char>(entries)) + keyRefs + valueRefs;
    std::string bytes = "bplist00", offsets;
    for (const auto& object : objects) {
        offsets += bigEndian(bytes.size(), width);
        bytes += object;
    }
    std::uint64_t offsetTable = bytes.size();
    return bytes + offsets + std::string(6, '\0') + static_cast<char>(width) + static_cast<char>(width) +
           bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(offsetTable, 8);
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
    return format == PlistFormat::xml ? xmlPropertyList(strings, depth) : binaryPropertyList(strings, depth);
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
