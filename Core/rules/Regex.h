// A compiled regular expression in the syntax the rule document is written in (ICU's), with named
// groups. Two expressions compiled from the same pattern and options are equal and hash alike,
// though they are different objects.
//
// Patterns come from a document a person writes, and a badly written one backtracks for ages over
// an unlucky name: every match runs under a step and a memory limit. A match that hits a limit
// counts as no match and is reported through analytics with its rule text, pattern and the name.
//
// Threading: immutable; matching from many threads at once is safe.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"

#include <memory>
#include <optional>
#include <string>
#include <unicode/uversion.h>

// Only a pointer to the compiled pattern is kept here: ICU's regex header is large, and this one
// reaches most of the library through the matchers.
U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace core {

class Regex {
public:
    // Absent, with the reason in `error`, when the pattern does not compile.
    static std::optional<Regex> compile(const std::string& pattern, bool caseInsensitive,
                                        std::string* error = nullptr);

    struct Match {
        // The text of the group named "id", when the pattern has one and it took part.
        std::optional<std::string> id;
    };
    // The first match anywhere in the text, unanchored unless the pattern anchors itself.
    std::optional<Match> firstMatch(const std::string& text) const;
    bool matches(const std::string& text) const { return firstMatch(text).has_value(); }

    // True when some text made of the pattern's own characters drives the match into its limits:
    // the sign of nested repetitions that backtrack without end on a near miss.
    bool backtracksCatastrophically() const;

    // The rule text the expression was written in (an entry, a rule key), which the report of a
    // match that gives up names; not part of what makes two expressions equal.
    void setSource(std::string source) { source_ = std::move(source); }

    const std::string& pattern() const { return pattern_; }
    bool caseInsensitive() const { return caseInsensitive_; }

    friend bool operator==(const Regex& a, const Regex& b) {
        return a.pattern_ == b.pattern_ && a.caseInsensitive_ == b.caseInsensitive_;
    }

private:
    enum class Search { found, notFound, gaveUp };
    Regex() = default;
    Search search(const std::string& text, Match* match) const;

    std::string pattern_;
    std::string source_;
    bool caseInsensitive_ = false;
    int idGroup_ = -1;
    std::shared_ptr<const icu::RegexPattern> compiled_;
};

} // namespace core

template <> struct std::hash<core::Regex> {
    std::size_t operator()(const core::Regex& regex) const noexcept {
        return std::hash<std::string>()(regex.pattern()) ^ (regex.caseInsensitive() ? 1 : 0);
    }
};
