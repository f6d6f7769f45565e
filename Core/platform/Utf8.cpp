#include "Core/platform/Utf8.h"

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

} // namespace core
