#include "dff/FileType.h"

#include <algorithm>
#include <cctype>
#include <magic.h>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace dff {
namespace {

struct FileTypeRow {
    const char* extension;
    const char* type;
    const char* contentType; // as content sniffing names it; null where it has no name of its own
};

constexpr FileTypeRow fileTypes[] = {
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

constexpr const char* genericData = "public.data";

// Content sniffing and the types it made up, each call under one lock: the sniffer keeps state
// between calls.
class Sniffer {
public:
    // The content type of the file, or empty when it cannot be read.
    std::string contentType(const Path& path) {
        std::lock_guard<std::mutex> guard(lock_);
        if (!loaded_) {
            loaded_ = true;
            cookie_ = ::magic_open(MAGIC_MIME_TYPE | MAGIC_ERROR);
            if (cookie_ && ::magic_load(cookie_, nullptr) != 0) {
                ::magic_close(cookie_);
                cookie_ = nullptr;
            }
        }
        const char* found = cookie_ ? ::magic_file(cookie_, path.cStr()) : nullptr;
        return found ? found : "";
    }

    // A type for a content type the table does not know, the same for the same content type.
    const char* madeUpType(std::string_view contentType) {
        std::string type = "dyn.";
        type.append(contentType);
        std::replace(type.begin() + 4, type.end(), '/', '.');
        std::lock_guard<std::mutex> guard(lock_);
        return madeTypes_.insert(std::move(type)).first->c_str();
    }

private:
    std::mutex lock_;
    magic_t cookie_ = nullptr;
    bool loaded_ = false;
    std::unordered_set<std::string> madeTypes_;
};

Sniffer& sniffer() {
    static Sniffer* shared = new Sniffer;
    return *shared;
}

} // namespace

const char* typeForExtension(std::string_view extension) {
    // Asked once for every file the index walks: one hash lookup, not a pass over the table.
    static const auto* byExtension = [] {
        auto* table = new std::unordered_map<std::string_view, const char*>;
        for (const auto& row : fileTypes)
            table->emplace(row.extension, row.type);
        return table;
    }();
    std::string lowered(extension);
    for (auto& c : lowered)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    auto found = byExtension->find(lowered);
    return found == byExtension->end() ? nullptr : found->second;
}

const char* typeForContentType(std::string_view contentType) {
    for (const auto& row : fileTypes)
        if (row.contentType && contentType == row.contentType)
            return row.type;
    if (contentType == "application/octet-stream" || contentType == "inode/x-empty")
        return genericData;
    return sniffer().madeUpType(contentType);
}

const char* fileTypeOf(const Path& path) {
    std::string_view text = path.str();
    std::string_view name = text.substr(text.rfind('/') + 1);
    std::size_t dot = name.rfind('.');
    if (dot != std::string_view::npos && dot > 0)
        if (const char* type = typeForExtension(name.substr(dot + 1)))
            return type;
    std::string contentType = sniffer().contentType(path);
    return contentType.empty() ? nullptr : typeForContentType(contentType);
}

} // namespace dff
