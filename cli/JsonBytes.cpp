#include "cli/JsonBytes.h"

#include "Core/platform/Text.h"

#include <array>
#include <cstdint>

namespace tidewell {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr const char* base64Key = "base64";

// The six-bit value of each base64 digit; -1 for every other byte.
constexpr std::array<int, 256> digitValues() {
    std::array<int, 256> values{};
    values.fill(-1);
    for (std::size_t digit = 0; digit < alphabet.size(); ++digit)
        values[static_cast<unsigned char>(alphabet[digit])] = static_cast<int>(digit);
    return values;
}
constexpr auto digitValue = digitValues();

std::uint32_t byteAt(std::string_view bytes, std::size_t index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0;
}

} // namespace

std::string base64Encoded(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = byteAt(bytes, at) << 16 | byteAt(bytes, at + 1) << 8 | byteAt(bytes, at + 2);
        std::size_t present = std::min<std::size_t>(3, bytes.size() - at);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += digit <= present ? alphabet[group >> (18 - 6 * digit) & 0x3F] : '=';
    }
    return text;
}

std::optional<std::string> base64Decoded(std::string_view text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t at = 0; at < text.size(); at += 4) {
        bool last = at + 4 == text.size();
        std::size_t padding = last ? (text[at + 3] == '=') + (text[at + 2] == '=') : 0;
        std::uint32_t group = 0;
        for (std::size_t digit = 0; digit < 4; ++digit) {
            int value = digit < 4 - padding ? digitValue[static_cast<unsigned char>(text[at + digit])] : 0;
            if (value < 0)
                return std::nullopt;
            group = group << 6 | static_cast<std::uint32_t>(value);
        }
        std::size_t produced = 3 - padding;
        // Bits below the last byte would be lost on the way back: canonical text has them zero.
        if ((group & ((1u << (8 * padding)) - 1)) != 0)
            return std::nullopt;
        for (std::size_t byte = 0; byte < produced; ++byte)
            bytes += static_cast<char>(group >> (16 - 8 * byte) & 0xFF);
    }
    return bytes;
}

nlohmann::json jsonBytes(std::string_view bytes) {
    std::string text(bytes);
    if (core::isValidUtf8(text))
        return text;
    return {{base64Key, base64Encoded(bytes)}};
}

nlohmann::json jsonBytesArray(const std::vector<std::string>& list) {
    auto array = nlohmann::json::array();
    for (const auto& bytes : list)
        array.push_back(jsonBytes(bytes));
    return array;
}

std::optional<std::string> bytesFromJson(const nlohmann::json& value) {
    if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        return core::isValidUtf8(text) ? std::optional(text) : std::nullopt;
    }
    if (!value.is_object() || value.size() != 1 || !value.contains(base64Key) ||
        !value[base64Key].is_string())
        return std::nullopt;
    auto bytes = base64Decoded(value[base64Key].get_ref<const std::string&>());
    // Valid UTF-8 has its one form, the plain string.
    if (!bytes || core::isValidUtf8(*bytes))
        return std::nullopt;
    return bytes;
}

} // namespace tidewell
