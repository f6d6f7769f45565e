// The flags with which a file system stops even a file's owner from changing or removing it.
//
// Threading: reentrant.
#pragma once

#include <optional>
#include <string>

namespace core {

struct ProtectionFlags {
    bool immutable = false;
    bool appendOnly = false;
    bool onlyImmutable() const { return immutable && !appendOnly; }
};

// The flags of a file or folder itself (a link has none of its own); absent when the file system
// keeps no such flags or the file cannot be read. Devices, FIFOs and sockets are never opened to
// ask, and have none.
std::optional<ProtectionFlags> protectionFlags(const std::string& path);

} // namespace core
