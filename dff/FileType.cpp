#include "dff/FileType.h"

#include "types/UniformTypeTable.h"

#include <algorithm>
#include <magic.h>
#include <mutex>
#include <unordered_set>

namespace dff {
namespace {

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

const char* typeForContentType(std::string_view contentType) {
    for (const auto& row : typetable::fileTypes)
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
        if (const char* type = typetable::fileTypeForExtension(name.substr(dot + 1)))
            return type;
    std::string contentType = sniffer().contentType(path);
    return contentType.empty() ? nullptr : typeForContentType(contentType);
}

} // namespace dff
