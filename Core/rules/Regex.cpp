#include "Core/rules/Regex.h"

#include <unicode/regex.h>

namespace core {

std::optional<Regex> Regex::compile(const std::string& pattern, bool caseInsensitive, std::string* error) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError{};
    std::shared_ptr<const icu::RegexPattern> compiled(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern),
                                   caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, parseError, status));
    if (U_FAILURE(status) || !compiled) {
        if (error)
            *error = std::string(u_errorName(status)) + " at offset " + std::to_string(parseError.offset);
        return std::nullopt;
    }
    Regex regex;
    regex.pattern_ = pattern;
    regex.caseInsensitive_ = caseInsensitive;
    regex.compiled_ = std::move(compiled);
    UErrorCode nameStatus = U_ZERO_ERROR;
    int group = regex.compiled_->groupNumberFromName("id", -1, nameStatus);
    regex.idGroup_ = U_SUCCESS(nameStatus) ? group : -1;
    return regex;
}

std::optional<Regex::Match> Regex::firstMatch(const std::string& text) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = icu::UnicodeString::fromUTF8(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(subject, status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status))
        return std::nullopt;
    Match match;
    if (idGroup_ > 0 && matcher->start(idGroup_, status) >= 0 && U_SUCCESS(status)) {
        std::string id;
        matcher->group(idGroup_, status).toUTF8String(id);
        match.id = std::move(id);
    }
    return match;
}

} // namespace core
