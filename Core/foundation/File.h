// What a scan finds: a path with a size, and a file that belongs to a photo library.
//
// Threading: immutable values, safe to copy between queues.
#pragma once

#include "Core/foundation/SizeString.h"
#include "Core/foundation/URL.h"

#include <cstdint>

namespace core {

class AppFile;
class AppFileKind;

// A found file. Its identity is its URL alone: a size read twice may differ, the file does not.
struct File {
    URL url;
    std::int64_t size = 0;

    std::string sizeString() const { return core::sizeString(size); }
    // The record with a kind, and an owner whose bundle identifier is the empty text.
    AppFile toAppFile(const AppFileKind& kind) const;

    friend bool operator==(const File& a, const File& b) { return a.url == b.url; }
};

struct Photo {
    std::string id;
    File file;

    friend bool operator==(const Photo& a, const Photo& b) { return a.id == b.id && a.file == b.file; }
};

} // namespace core

template <> struct std::hash<core::File> {
    std::size_t operator()(const core::File& file) const noexcept { return std::hash<core::URL>()(file.url); }
};
