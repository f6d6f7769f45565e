#include "Core/rules/Regex.h"

#include "Core/foundation/Analytics.h"
#include <cctype>
#include <set>
#include <unicode/regex.h>

namespace core {
namespace {

// In the engine's own units of work, some milliseconds each: counted rather than timed, so the same
// name gives the same answer on a busy machine. A file name of a few hundred
// characters takes a small fraction of one unit against any sane pattern.
constexpr std::int32_t matchStepLimit = 20;
// The engine keeps its backtracking frames on the heap; this bounds what one match may take.
constexpr std::int32_t matchMemoryLimit = 1 << 20;

void reportGivenUp(const std::string& source, const std::string& pattern, const std::string& text) {
    analytics()->log("[Rules] expression_gave_up entry=" + source + " pattern=" + pattern + " text=" + text,
                     3);
}

// Runs of each character the pattern names, and a few common ones, ending in a character that
// spoils the match at the last moment: nested repetitions then try every way to split the run.
std::vector<std::string> probesFor(const std::string& pattern) {
    std::set<char> characters{'a', '0', ' ', '.'};
    for (char character : pattern)
        if (std::isalnum(static_cast<unsigned char>(character)) || character == '-' || character == '_')
            characters.insert(character);
    std::vector<std::string> probes;
    for (char character : characters)
        for (const char* spoiler : {"!", "\x01"})
            probes.push_back(std::string(32, character) + spoiler);
    return probes;
}

} // namespace

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

Regex::Search Regex::search(const std::string& text, Match* match) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = icu::UnicodeString::fromUTF8(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(subject, status));
    if (U_FAILURE(status))
        return Search::notFound;
    matcher->setTimeLimit(matchStepLimit, status);
    matcher->setStackLimit(matchMemoryLimit, status);
    bool found = matcher->find(status);
    if (status == U_REGEX_TIME_OUT || status == U_REGEX_STACK_OVERFLOW)
        return Search::gaveUp;
    if (U_FAILURE(status) || !found)
        return Search::notFound;
    if (match && idGroup_ > 0 && matcher->start(idGroup_, status) >= 0 && U_SUCCESS(status)) {
        std::string id;
        matcher->group(idGroup_, status).toUTF8String(id);
        match->id = std::move(id);
    }
    return Search::found;
}

std::optional<Regex::Match> Regex::firstMatch(const std::string& text) const {
    Match match;
    switch (search(text, &match)) {
    case Search::found:
        return match;
    case Search::gaveUp:
        reportGivenUp(source_.empty() ? pattern_ : source_, pattern_, text);
        return std::nullopt;
    case Search::notFound:
        break;
    }
    return std::nullopt;
}

bool Regex::backtracksCatastrophically() const {
    for (const auto& probe : probesFor(pattern_))
        if (search(probe, nullptr) == Search::gaveUp)
            return true;
    return false;
}

} // namespace core
