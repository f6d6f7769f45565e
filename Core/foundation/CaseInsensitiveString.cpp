#include "Core/foundation/CaseInsensitiveString.h"

#include <algorithm>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace core {
namespace {

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string asciiLowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), asciiLower);
    return text;
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

} // namespace

std::optional<CaseInsensitiveString> CaseInsensitiveString::from(const std::optional<std::string>& text) {
    if (!text)
        return std::nullopt;
    return CaseInsensitiveString(*text);
}

std::string CaseInsensitiveString::lowercaseString() const {
    if (isAscii(origin_))
        return asciiLowered(origin_);
    return toUtf8(icu::UnicodeString::fromUTF8(origin_).toLower());
}

// Identifiers and file names are nearly always ASCII, so they take a fast path; anything else is
// folded by ICU, and comparison and hashing both go through the same folding.
std::string CaseInsensitiveString::folded(const std::string& text) {
    if (isAscii(text))
        return asciiLowered(text);
    return toUtf8(icu::UnicodeString::fromUTF8(text).foldCase());
}

int CaseInsensitiveString::compare(const std::string& a, const std::string& b) {
    if (isAscii(a) && isAscii(b)) {
        auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                                           [](char x, char y) { return asciiLower(x) == asciiLower(y); });
        if (left == a.end())
            return right == b.end() ? 0 : -1;
        if (right == b.end())
            return 1;
        return asciiLower(*left) < asciiLower(*right) ? -1 : 1;
    }
    return icu::UnicodeString::fromUTF8(a).caseCompare(icu::UnicodeString::fromUTF8(b), U_FOLD_CASE_DEFAULT);
}

} // namespace core
