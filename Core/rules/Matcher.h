// The test for one path component that a rule entry makes, and one whole parsed entry: where it
// starts, how it goes down, what it claims, and at what priority.
//
// Threading: immutable values, shared freely between threads once built.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/foundation/URL.h"
#include "Core/rules/Regex.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace core {

class Matcher {
public:
    // In the order of their hash numbers.
    enum class Type { string, regex, any, id };

    static Matcher string(CaseInsensitiveString name) {
        return Matcher(Type::string, std::move(name), std::nullopt);
    }
    static Matcher regex(Regex expression) { return Matcher(Type::regex, {}, std::move(expression)); }
    static Matcher any() { return Matcher(Type::any, {}, std::nullopt); }
    static Matcher id() { return Matcher(Type::id, {}, std::nullopt); }
    // A piece of a rule entry: "*" any, "**" id, "*rest" the expression ^rest$, "^..." the
    // expression as written, anything else the name itself. Absent, with the reason, when the
    // piece is empty or its expression does not compile. `entry` is the rule text the piece came
    // from, for reports.
    static std::optional<Matcher> parse(const std::string& piece, std::string* reason = nullptr,
                                        const std::string& entry = {});

    Type type() const { return type_; }
    const CaseInsensitiveString& name() const { return name_; }
    const std::optional<Regex>& expression() const { return expression_; }
    // string 4, regex 3, id 2, any 1: the more specific sorts first.
    int specificity() const;

    struct Outcome {
        bool accepted = false;
        // The owner the name itself gives: the name for `id`, the group "id" for an expression.
        std::optional<CaseInsensitiveString> id;
    };
    Outcome test(const std::string& name) const;

    friend bool operator==(const Matcher& a, const Matcher& b);

private:
    Matcher(Type type, CaseInsensitiveString name, std::optional<Regex> expression)
        : type_(type), name_(std::move(name)), expression_(std::move(expression)) {}
    Type type_;
    CaseInsensitiveString name_;
    std::optional<Regex> expression_;
};

// The folders a rule entry may start from.
struct RuleRoots {
    std::string root;      // "/..." entries
    std::string home;      // "Home/..."
    std::string library;   // "Lib/..."
    std::string temporary; // "Tmp/..."
};

struct ParsedEntry;

struct PathMatcher {
    URL root;
    std::int64_t priority = 0;
    std::vector<Matcher> pathMatchers;
    Matcher nameMatcher = Matcher::any();

    // An entry "[PRIORITY:]ROOT/piece/.../piece". A priority too large for 64 bits makes the
    // document invalid; a wrong root, too few pieces or a bad expression drops the entry.
    static ParsedEntry parse(const std::string& entry, std::int64_t defaultPriority, const RuleRoots& roots);
};

struct ParsedEntry {
    enum class Status { parsed, dropped, invalid };
    Status status;
    std::optional<PathMatcher> matcher;
    // Why an entry was dropped or is invalid.
    std::string reason;
};

} // namespace core

template <> struct std::hash<core::Matcher> {
    std::size_t operator()(const core::Matcher& matcher) const noexcept;
};
