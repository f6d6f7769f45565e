#include "tests/support/TempTree.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace core::testing {

bool entryExists(const std::string& path) {
    return fs::exists(fs::symlink_status(path));
}

TempTree::TempTree() {
    std::string pattern = (fs::temp_directory_path() / "core-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempTree::~TempTree() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempTree::at(const std::string& relative) const {
    return relative.empty() ? path_ : path_ + "/" + relative;
}

std::string TempTree::file(const std::string& relative, std::size_t bytes) const {
    std::string full = at(relative);
    fs::create_directories(fs::path(full).parent_path());
    std::ofstream out(full, std::ios::binary | std::ios::trunc);
    std::string block(4096, 'x');
    for (std::size_t written = 0; written < bytes; written += block.size())
        out.write(block.data(), static_cast<std::streamsize>(std::min(block.size(), bytes - written)));
    return full;
}

std::string TempTree::folder(const std::string& relative) const {
    std::string full = at(relative);
    fs::create_directories(full);
    return full;
}

std::int64_t allocatedBytes(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        throw std::runtime_error("cannot stat " + path);
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

} // namespace core::testing
