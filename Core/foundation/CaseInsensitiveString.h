// Text whose identity ignores letter case but which remembers how it was written: the key of every
// table of bundle identifiers and file names. Equality and order fold case; the hash is that of
// the folded text, so values that compare equal hash alike.
//
// Threading: an immutable value, safe to copy between queues.
#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <string>

namespace core {

class CaseInsensitiveString {
public:
    CaseInsensitiveString() = default;
    CaseInsensitiveString(std::string text) : origin_(std::move(text)) {}
    CaseInsensitiveString(const char* text) : origin_(text) {}
    static std::optional<CaseInsensitiveString> from(const std::optional<std::string>& text);

    const std::string& origin() const { return origin_; }
    const std::string& description() const { return origin_; }
    std::string lowercaseString() const;

    friend bool operator==(const CaseInsensitiveString& a, const CaseInsensitiveString& b) {
        return compare(a.origin_, b.origin_) == 0;
    }
    friend std::strong_ordering operator<=>(const CaseInsensitiveString& a, const CaseInsensitiveString& b) {
        return compare(a.origin_, b.origin_) <=> 0;
    }

    // The key under which both spellings of one text hash: case folded.
    static std::string folded(const std::string& text);

private:
    static int compare(const std::string& a, const std::string& b);
    std::string origin_;
};

// A piece of a text, in bytes of that text.
struct TextRange {
    std::size_t position = 0;
    std::size_t length = 0;
};

// The first occurrence of `needle` in `text` at or after byte `from`, ignoring case. The range is
// in `text` itself: folding may change a text's length ("İ" folds to three bytes from two), so a
// position found in a folded copy would not fit the original.
std::optional<TextRange> findIgnoringCase(const std::string& text, const std::string& needle,
                                          std::size_t from = 0);

} // namespace core

template <> struct std::hash<core::CaseInsensitiveString> {
    std::size_t operator()(const core::CaseInsensitiveString& text) const noexcept {
        return std::hash<std::string>()(core::CaseInsensitiveString::folded(text.origin()));
    }
};
