#include "Core/platform/Text.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <unicode/utf8.h>

namespace core {

bool isValidUtf8(const std::string& bytes) {
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    int32_t length = static_cast<int32_t>(bytes.size());
    for (int32_t offset = 0; offset < length;) {
        UChar32 c;
        U8_NEXT(data, offset, length, c);
        if (c < 0)
            return false;
    }
    return true;
}

std::vector<std::string> splitDroppingEmpty(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find(separator, start);
        if (end == std::string::npos)
            end = text.size();
        if (end > start)
            pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::string extensionOf(const std::string& name) {
    auto dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : name.substr(dot + 1);
}

std::string makeUUIDString() {
    static thread_local std::mt19937_64 generator{std::random_device{}()};
    std::uint64_t high = generator(), low = generator();
    // Version 4, variant 1.
    high = (high & ~0xF000ULL) | 0x4000ULL;
    low = (low & ~(0xC000ULL << 48)) | (0x8000ULL << 48);
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                  static_cast<unsigned>((high >> 16) & 0xFFFF), static_cast<unsigned>(high & 0xFFFF),
                  static_cast<unsigned>(low >> 48), static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFULL));
    return text;
}

PathParts splitLastComponent(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return {".", path};
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

} // namespace core
