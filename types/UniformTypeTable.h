// The uniform type identifiers of files by extension and by sniffed content, and the extensions
// that make a folder a package. It lives apart from both of its users, header-only, because the
// duplicate engine includes nothing from Core and the platform must not depend on the engine.
//
// Threading: constant tables; the lookups are safe from any thread.
#pragma once

#include <cctype>
#include <string>
#include <string_view>
#include <unordered_map>

namespace typetable {

struct FileTypeRow {
    const char* extension;
    const char* type;
    const char* contentType; // as content sniffing names it; null where it has no name of its own
};

inline constexpr FileTypeRow fileTypes[] = {
    {"png", "public.png", "image/png"},
    {"jpg", "public.jpeg", "image/jpeg"},
    {"jpeg", "public.jpeg", "image/jpeg"},
    {"heic", "public.heic", "image/heic"},
    {"heif", "public.heif", "image/heif"},
    {"gif", "com.compuserve.gif", "image/gif"},
    {"bmp", "com.microsoft.bmp", "image/bmp"},
    {"tif", "public.tiff", "image/tiff"},
    {"tiff", "public.tiff", "image/tiff"},
    {"webp", "org.webmproject.webp", "image/webp"},
    {"svg", "public.svg-image", "image/svg+xml"},
    {"cr2", "com.canon.cr2-raw-image", "image/x-canon-cr2"},
    {"nef", "com.nikon.raw-image", "image/x-nikon-nef"},
    {"dng", "com.adobe.raw-image", "image/x-adobe-dng"},
    {"mov", "com.apple.quicktime-movie", "video/quicktime"},
    {"mp4", "public.mpeg-4", "video/mp4"},
    {"m4v", "com.apple.m4v-video", "video/x-m4v"},
    {"avi", "public.avi", "video/x-msvideo"},
    {"mkv", "org.matroska.mkv", "video/x-matroska"},
    {"webm", "org.webmproject.webm", "video/webm"},
    {"mp3", "public.mp3", "audio/mpeg"},
    {"m4a", "com.apple.m4a-audio", "audio/x-m4a"},
    {"wav", "com.microsoft.waveform-audio", "audio/x-wav"},
    {"aiff", "public.aiff-audio", "audio/x-aiff"},
    {"flac", "org.xiph.flac", "audio/flac"},
    {"txt", "public.plain-text", "text/plain"},
    {"log", "com.apple.log", nullptr},
    {"md", "net.daringfireball.markdown", "text/markdown"},
    {"csv", "public.comma-separated-values-text", "text/csv"},
    {"html", "public.html", "text/html"},
    {"xml", "public.xml", "text/xml"},
    {"json", "public.json", "application/json"},
    {"plist", "com.apple.property-list", nullptr},
    {"pdf", "com.adobe.pdf", "application/pdf"},
    {"doc", "com.microsoft.word.doc", "application/msword"},
    {"docx", "org.openxmlformats.wordprocessingml.document",
     "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"xls", "com.microsoft.excel.xls", "application/vnd.ms-excel"},
    {"xlsx", "org.openxmlformats.spreadsheetml.sheet",
     "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"zip", "public.zip-archive", "application/zip"},
    {"gz", "org.gnu.gnu-zip-archive", "application/gzip"},
    {"tar", "public.tar-archive", "application/x-tar"},
    {"bz2", "public.bzip2-archive", "application/x-bzip2"},
    {"xz", "org.tukaani.xz-archive", "application/x-xz"},
    {"7z", "org.7-zip.7-zip-archive", "application/x-7z-compressed"},
    {"dmg", "com.apple.disk-image-udif", nullptr},
    {"iso", "public.iso-image", "application/x-iso9660-image"},
    {"img", "public.disk-image", nullptr},
    {"sparseimage", "com.apple.disk-image-sparse", nullptr},
    {"deb", "org.debian.deb-archive", "application/vnd.debian.binary-package"},
};

struct PackageTypeRow {
    const char* extension;
    const char* type;
};

inline constexpr PackageTypeRow packageTypes[] = {
    {"app", "com.apple.application-bundle"},
    {"bundle", "com.apple.bundle"},
    {"framework", "com.apple.framework"},
    {"plugin", "com.apple.plugin"},
    {"kext", "com.apple.kernel-extension"},
    {"photoslibrary", "com.apple.photos.library"},
    {"pkg", "com.apple.installer-package"},
    {"mpkg", "com.apple.installer-package"},
    {"rtfd", "com.apple.rtfd"},
    {"xcodeproj", "com.apple.xcode.project"},
    {"xcworkspace", "com.apple.dt.document.workspace"},
    {"xcarchive", "com.apple.xcode.archive"},
    {"playground", "com.apple.dt.playground"},
    {"prefpane", "com.apple.systempreference.prefpane"},
    {"qlgenerator", "com.apple.quicklook.generator"},
    {"saver", "com.apple.screen-saver"},
    {"sparsebundle", "com.apple.disk-image-sparsebundle"},
    {"photolibrary", "com.apple.iphoto.library"},
    {"fcpbundle", "com.apple.finalcutpro.library"},
    {"logicx", "com.apple.logic10.project"},
    {"band", "com.apple.garageband.project"},
    {"pages", "com.apple.iwork.pages.sffpages"},
    {"numbers", "com.apple.iwork.numbers.sffnumbers"},
    {"key", "com.apple.iwork.keynote.sffkey"},
    {"appex", "com.apple.application-and-system-extension"},
    {"xpc", "com.apple.xpc-service"},
    {"wdgt", "com.apple.dashboard-widget"},
};

namespace detail {

// A table of the rows' extensions to their types, built once: the lookups run for every file and
// folder a scan meets.
template <class Row, std::size_t count>
const char* lookUp(const Row (&rows)[count], std::string_view extension) {
    static const auto* byExtension = [&rows] {
        auto* table = new std::unordered_map<std::string_view, const char*>;
        for (const auto& row : rows)
            table->emplace(row.extension, row.type);
        return table;
    }();
    std::string lowered(extension);
    for (auto& c : lowered)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    auto found = byExtension->find(lowered);
    return found == byExtension->end() ? nullptr : found->second;
}

} // namespace detail

// The type of a regular file with this extension, compared without regard to case; null when the
// table does not know it.
inline const char* fileTypeForExtension(std::string_view extension) {
    return detail::lookUp(fileTypes, extension);
}

// The type of a folder with this extension, compared without regard to case; null when the
// extension does not make a folder a package.
inline const char* packageTypeForExtension(std::string_view extension) {
    return detail::lookUp(packageTypes, extension);
}

} // namespace typetable
