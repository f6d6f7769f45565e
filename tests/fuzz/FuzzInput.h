// Helpers shared by the fuzz targets.
#pragma once

#include "Core/rules/Matcher.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace core::fuzzing {

// Replaces the file with the input. The old file is removed rather than truncated: file systems
// flush a file that is truncated and written again, which would make every run wait for the disk.
inline void writeInput(const std::string& path, const std::uint8_t* data, std::size_t size) {
    std::filesystem::remove(path);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

// Roots for rule documents that no entry can resolve to a real folder of this machine.
inline const RuleRoots& ruleRoots() {
    static const RuleRoots roots{"/fuzz/root", "/fuzz/home", "/fuzz/home/Library", "/fuzz/tmp"};
    return roots;
}

} // namespace core::fuzzing
