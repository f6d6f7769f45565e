#include "Core/platform/UniformTypes.h"

#include "types/UniformTypeTable.h"

#include <algorithm>
#include <unordered_map>

namespace core {
namespace {

// What each type conforms to directly; the tree is their closure.
const std::unordered_map<std::string, std::vector<std::string>>& parents() {
    static const std::unordered_map<std::string, std::vector<std::string>> table = {
        {"public.item", {}},
        {"public.content", {}},
        {"public.data", {"public.item"}},
        {"public.directory", {"public.item"}},
        {"public.folder", {"public.directory"}},
        {"public.symlink", {"public.item"}},
        {"com.apple.package", {"public.directory"}},
        {"com.apple.bundle", {"public.directory"}},
        {"public.executable", {"public.item"}},
        {"com.apple.application", {"public.executable"}},
        {"com.apple.application-bundle", {"com.apple.application", "com.apple.bundle", "com.apple.package"}},
        {"com.apple.framework", {"com.apple.bundle", "com.apple.package"}},
        {"com.apple.plugin", {"com.apple.bundle", "com.apple.package"}},
        {"com.apple.kernel-extension", {"com.apple.bundle", "com.apple.package"}},
        {"com.apple.application-and-system-extension", {"com.apple.bundle", "com.apple.package"}},
        {"com.apple.xpc-service", {"com.apple.bundle", "com.apple.package"}},
        {"public.image", {"public.data", "public.content"}},
        {"public.audiovisual-content", {"public.data", "public.content"}},
        {"public.movie", {"public.audiovisual-content"}},
        {"public.audio", {"public.audiovisual-content"}},
        {"public.text", {"public.data", "public.content"}},
        {"public.plain-text", {"public.text"}},
        {"public.composite-content", {"public.content"}},
        {"public.archive", {"public.data"}},
        {"public.disk-image", {"public.archive"}},
        {"com.apple.disk-image", {"public.disk-image"}},
    };
    return table;
}

// The direct parent of a leaf type, by family.
std::vector<std::string> leafParents(const std::string& type) {
    static const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> families = {
        {{"public.png", "public.jpeg", "public.heic", "public.heif", "com.compuserve.gif",
          "com.microsoft.bmp", "public.tiff", "org.webmproject.webp", "public.svg-image",
          "com.canon.cr2-raw-image", "com.nikon.raw-image", "com.adobe.raw-image"},
         {"public.image"}},
        {{"com.apple.quicktime-movie", "public.mpeg-4", "com.apple.m4v-video", "public.avi",
          "org.matroska.mkv", "org.webmproject.webm"},
         {"public.movie"}},
        {{"public.mp3", "com.apple.m4a-audio", "com.microsoft.waveform-audio", "public.aiff-audio",
          "org.xiph.flac"},
         {"public.audio"}},
        {{"com.apple.log", "net.daringfireball.markdown", "public.comma-separated-values-text", "public.html",
          "public.xml", "public.json"},
         {"public.plain-text"}},
        {{"com.adobe.pdf", "com.microsoft.word.doc", "org.openxmlformats.wordprocessingml.document",
          "com.microsoft.excel.xls", "org.openxmlformats.spreadsheetml.sheet"},
         {"public.data", "public.composite-content"}},
        {{"public.zip-archive", "org.gnu.gnu-zip-archive", "public.tar-archive", "public.bzip2-archive",
          "org.tukaani.xz-archive", "org.7-zip.7-zip-archive", "org.debian.deb-archive"},
         {"public.archive"}},
        {{"com.apple.disk-image-udif", "com.apple.disk-image-sparse", "com.apple.disk-image-sparsebundle"},
         {"com.apple.disk-image"}},
        {{"public.iso-image"}, {"public.disk-image"}},
        {{"com.apple.property-list"}, {"public.data"}},
    };
    for (const auto& [members, family] : families)
        if (std::find(members.begin(), members.end(), type) != members.end())
            return family;
    return {};
}

bool isPackageType(const std::string& type) {
    return std::any_of(std::begin(typetable::packageTypes), std::end(typetable::packageTypes),
                       [&](const auto& row) { return type == row.type; });
}

std::vector<std::string> directParents(const std::string& type) {
    if (auto known = parents().find(type); known != parents().end())
        return known->second;
    if (auto family = leafParents(type); !family.empty())
        return family;
    // A package type the table does not detail is still a bundle and a package.
    if (isPackageType(type))
        return {"com.apple.bundle", uti::package};
    return {uti::data};
}

} // namespace

std::string typeForFileExtension(const std::string& extension) {
    const char* type = typetable::fileTypeForExtension(extension);
    return type ? type : uti::data;
}

std::string typeForPackageExtension(const std::string& extension) {
    const char* type = typetable::packageTypeForExtension(extension);
    return type ? type : uti::package;
}

bool isPackageExtension(const std::string& extension) {
    return typetable::packageTypeForExtension(extension) != nullptr;
}

std::vector<std::string> conformanceTree(const std::string& type) {
    std::vector<std::string> tree = {type};
    for (std::size_t next = 0; next < tree.size(); ++next)
        for (const auto& parent : directParents(tree[next]))
            if (std::find(tree.begin(), tree.end(), parent) == tree.end())
                tree.push_back(parent);
    return tree;
}

bool conformsTo(const std::string& type, const std::string& ancestor) {
    auto tree = conformanceTree(type);
    return std::find(tree.begin(), tree.end(), ancestor) != tree.end();
}

} // namespace core
