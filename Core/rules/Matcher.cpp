#include "Core/rules/Matcher.h"

#include "Core/platform/Text.h"

#include <charconv>

namespace core {

std::optional<Matcher> Matcher::parse(const std::string& piece, std::string* reason,
                                      const std::string& entry) {
    auto compiled = [&](const std::string& pattern) -> std::optional<Matcher> {
        std::string error;
        auto expression = Regex::compile(pattern, true, &error);
        if (!expression) {
            if (reason)
                *reason = "the expression " + pattern + " does not compile (" + error + ")";
            return std::nullopt;
        }
        expression->setSource(entry);
        return regex(std::move(*expression));
    };
    if (piece.empty()) {
        if (reason)
            *reason = "an empty piece";
        return std::nullopt;
    }
    if (piece == "*")
        return any();
    if (piece == "**")
        return id();
    if (piece.front() == '*')
        return compiled("^" + piece.substr(1) + "$");
    if (piece.front() == '^')
        return compiled(piece);
    return string(piece);
}

int Matcher::specificity() const {
    switch (type_) {
    case Type::string:
        return 4;
    case Type::regex:
        return 3;
    case Type::id:
        return 2;
    case Type::any:
        return 1;
    }
    return 0;
}

Matcher::Outcome Matcher::test(const std::string& candidate) const {
    switch (type_) {
    case Type::string:
        return {name_ == CaseInsensitiveString(candidate), std::nullopt};
    case Type::any:
        return {true, std::nullopt};
    case Type::id:
        return {true, CaseInsensitiveString(candidate)};
    case Type::regex:
        break;
    }
    auto match = expression_->firstMatch(candidate);
    if (!match)
        return {};
    return {true, CaseInsensitiveString::from(match->id)};
}

bool operator==(const Matcher& a, const Matcher& b) {
    if (a.type_ != b.type_)
        return false;
    if (a.type_ == Matcher::Type::string)
        return a.name_ == b.name_;
    if (a.type_ == Matcher::Type::regex)
        return *a.expression_ == *b.expression_;
    return true;
}

namespace {

ParsedEntry dropped(std::string reason) {
    return {ParsedEntry::Status::dropped, std::nullopt, std::move(reason)};
}

// "^(\d+):(.+)$": digits, a colon, and a path.
bool splitPriority(const std::string& entry, std::string& digits, std::string& path) {
    auto colon = entry.find(':');
    if (colon == 0 || colon == std::string::npos || colon + 1 == entry.size())
        return false;
    for (std::size_t i = 0; i < colon; ++i)
        if (entry[i] < '0' || entry[i] > '9')
            return false;
    digits = entry.substr(0, colon);
    path = entry.substr(colon + 1);
    return true;
}

// Takes out "." and resolves ".." against the piece before it, as the walk would meet them. False
// when a ".." climbs above the root: a rule names places inside its root only.
bool normalise(std::vector<std::string>& pieces) {
    std::vector<std::string> kept;
    for (auto& piece : pieces) {
        if (piece == ".")
            continue;
        if (piece != "..") {
            kept.push_back(std::move(piece));
            continue;
        }
        if (kept.empty())
            return false;
        kept.pop_back();
    }
    pieces = std::move(kept);
    return true;
}

} // namespace

ParsedEntry PathMatcher::parse(const std::string& entry, std::int64_t defaultPriority,
                               const RuleRoots& roots) {
    PathMatcher matcher;
    matcher.priority = defaultPriority;
    std::string digits, path = entry;
    if (splitPriority(entry, digits, path)) {
        auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), matcher.priority);
        if (error != std::errc() || end != digits.data() + digits.size())
            return {ParsedEntry::Status::invalid, std::nullopt, "the priority " + digits + " is too large"};
    }
    auto split = splitDroppingEmpty(path, '/');
    if (!path.empty() && path.front() == '/') {
        matcher.root = URL::fileURL(roots.root);
    } else {
        if (split.size() < 2)
            return dropped("a root and at least one piece are needed");
        const std::string& first = split.front();
        if (first == "Home")
            matcher.root = URL::fileURL(roots.home);
        else if (first == "Lib")
            matcher.root = URL::fileURL(roots.library);
        else if (first == "Tmp")
            matcher.root = URL::fileURL(roots.temporary);
        else
            return dropped("unknown root " + first + " (Home, Lib, Tmp or /)");
        split.erase(split.begin());
    }
    if (!normalise(split))
        return dropped("the path leaves its root");
    if (split.empty())
        return dropped("no piece after the root");
    for (std::size_t i = 0; i < split.size(); ++i) {
        std::string reason;
        auto piece = Matcher::parse(split[i], &reason, entry);
        if (!piece)
            return dropped(reason);
        if (i + 1 == split.size())
            matcher.nameMatcher = std::move(*piece);
        else
            matcher.pathMatchers.push_back(std::move(*piece));
    }
    return {ParsedEntry::Status::parsed, std::move(matcher), {}};
}

} // namespace core

std::size_t std::hash<core::Matcher>::operator()(const core::Matcher& matcher) const noexcept {
    using Type = core::Matcher::Type;
    std::size_t number = static_cast<std::size_t>(matcher.type());
    if (matcher.type() == Type::string)
        return number ^ (std::hash<core::CaseInsensitiveString>()(matcher.name()) << 2);
    if (matcher.type() == Type::regex)
        return number ^ (std::hash<core::Regex>()(*matcher.expression()) << 2);
    return number;
}
