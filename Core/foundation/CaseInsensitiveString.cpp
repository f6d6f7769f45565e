#include "Core/foundation/CaseInsensitiveString.h"

#include <algorithm>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

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

// The folded form of the code point that starts at `at`, and moves `at` past it. A byte that
// starts no valid sequence stands for itself.
std::string foldedCodePointAt(const std::string& text, std::size_t& at) {
    std::size_t start = at;
    auto offset = static_cast<std::int32_t>(at);
    UChar32 codePoint = 0;
    U8_NEXT(text.data(), offset, static_cast<std::int32_t>(text.size()), codePoint);
    at = static_cast<std::size_t>(offset);
    if (codePoint < 0)
        return text.substr(start, at - start);
    if (codePoint < 0x80)
        return std::string(1, asciiLower(static_cast<char>(codePoint)));
    return toUtf8(icu::UnicodeString(codePoint).foldCase());
}

// How many bytes of `text` from `at` fold to exactly `folded`, if a whole number of code points do.
std::optional<std::size_t> foldedMatchLength(const std::string& text, std::size_t at,
                                             const std::string& folded) {
    std::string accumulated;
    std::size_t end = at;
    while (accumulated.size() < folded.size() && end < text.size()) {
        accumulated += foldedCodePointAt(text, end);
        if (folded.compare(0, accumulated.size(), accumulated) != 0)
            return std::nullopt;
    }
    return accumulated == folded ? std::optional(end - at) : std::nullopt;
}

} // namespace

std::optional<TextRange> findIgnoringCase(const std::string& text, const std::string& needle,
                                          std::size_t from) {
    std::string folded = CaseInsensitiveString::folded(needle);
    for (std::size_t at = from; at <= text.size();) {
        if (auto length = foldedMatchLength(text, at, folded))
            return TextRange{at, *length};
        if (at == text.size())
            break;
        foldedCodePointAt(text, at);
    }
    return std::nullopt;
}

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
