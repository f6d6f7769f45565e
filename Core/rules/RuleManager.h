// The rule document: for every known application, and for all applications at once, where on disk
// its caches, logs, support files and the rest lie. It is read once, from the encrypted resource
// "ruleInfo.txt", into typed rules that the matcher index compiles.
//
// A document that does not decipher or decode, an invalid rule key or a priority too large stops
// the load: the rule engine cannot work without its knowledge. An entry that only fails to parse (a
// wrong root, too few pieces, a path that leaves its root, a bad expression) is dropped, and kept in
// `dropped` with the reason. What an author would want to hear of but does not stop the entry (a
// repeated rule key, an expression that backtracks without end) is kept in `warnings`.
//
// Threading: built once; immutable and read from any thread afterwards.
#pragma once

#include "Core/foundation/AppFile.h"
#include "Core/rules/Matcher.h"

#include <array>
#include <memory>
#include <unordered_map>
#include <variant>

namespace core {

class RuleID {
public:
    // In the order of their hash numbers.
    enum class Type { bundleID, bundleIDRegex, base, black, system };

    static RuleID bundleID(CaseInsensitiveString id) {
        return RuleID(Type::bundleID, std::move(id), std::nullopt);
    }
    static RuleID bundleIDRegex(Regex expression) {
        return RuleID(Type::bundleIDRegex, {}, std::move(expression));
    }
    static RuleID base() { return RuleID(Type::base, {}, std::nullopt); }
    static RuleID black() { return RuleID(Type::black, {}, std::nullopt); }
    static RuleID system() { return RuleID(Type::system, {}, std::nullopt); }
    // "*" base, "*EXPR" an expression over bundle identifiers, "@" black, "#" system, else a
    // bundle identifier. Absent, with the reason, for the empty key or an expression that fails.
    static std::optional<RuleID> parse(const std::string& key, std::string* reason = nullptr);

    Type type() const { return type_; }
    const CaseInsensitiveString& id() const { return id_; }
    const std::optional<Regex>& expression() const { return expression_; }
    // The rank that sets the default priority of the rule's entries: ten times it, one more in
    // "support".
    int rank() const;
    std::string description() const;

    friend bool operator==(const RuleID& a, const RuleID& b);

private:
    RuleID(Type type, CaseInsensitiveString id, std::optional<Regex> expression)
        : type_(type), id_(std::move(id)), expression_(std::move(expression)) {}
    Type type_;
    CaseInsensitiveString id_;
    std::optional<Regex> expression_;
};

} // namespace core

template <> struct std::hash<core::RuleID> { std::size_t operator()(const core::RuleID& id) const noexcept; };

namespace core {

// The sections of a rule, in document order. "caches" and "logs" are all the cache-and-log index
// sees.
enum class RuleSection {
    caches,
    logs,
    support,
    library,
    loginItems,
    crashReports,
    plugins,
    shared,
    preferencePanes
};
inline constexpr std::size_t ruleSectionCount = 9;
const char* sectionName(RuleSection section);

using RuleSectionEntries = std::unordered_map<AppFileKind, std::vector<PathMatcher>>;

struct Rule {
    // An absent section was not in the document; a present one may be empty.
    std::array<std::optional<RuleSectionEntries>, ruleSectionCount> sections;

    const std::optional<RuleSectionEntries>& section(RuleSection which) const {
        return sections[static_cast<std::size_t>(which)];
    }
};

struct ExtraInfo {
    std::optional<std::vector<CaseInsensitiveString>> ids;
    std::optional<CaseInsensitiveString> organization;
};

// An entry the grammar could not take, or one it took with a warning, and why.
struct EntryNote {
    std::string ruleKey;
    std::string section;
    std::string kind;
    std::string entry;
    std::string reason;
};

class RuleManager {
public:
    struct LoadResult {
        std::shared_ptr<const RuleManager> manager;
        // Why the document was refused, when manager is null.
        std::string error;
    };

    // Probing every expression for runaway backtracking takes a moment per expression: a check for
    // authors asks for it, a load for a scan does not.
    enum class ExpressionProbe { skip, probe };

    // From the document's plain YAML text.
    static LoadResult fromDocument(const std::string& yaml, const RuleRoots& roots,
                                   ExpressionProbe probe = ExpressionProbe::skip);
    // From the encrypted file, as shipped.
    static LoadResult fromEncryptedFile(const std::string& path, const RuleRoots& roots);
    // The roots of the process: home, its Library, the temporary folder, and "/" under the root.
    static RuleRoots currentRoots();

    // The process-wide load of "ruleInfo.txt" in the resources folder, made at first use. Nothing
    // the library does with applications works without it, so a host checks it before a scan and
    // tells the user why it cannot go on.
    static const LoadResult& sharedLoad();
    // The process-wide rules; no rules at all when sharedLoad() failed.
    static const RuleManager& shared();

    std::unordered_map<RuleID, Rule> rules;
    std::unordered_map<CaseInsensitiveString, ExtraInfo> extraInfos;
    std::vector<std::pair<Regex, ExtraInfo>> regexExtraInfos;
    std::vector<EntryNote> dropped;
    std::vector<EntryNote> warnings;

    struct Extra {
        std::vector<CaseInsensitiveString> ids;
        std::optional<CaseInsensitiveString> organization;
    };
    // The further identifiers and the organization of an application; the exact rule has the last
    // word over the expressions.
    Extra extraInfo(const std::string& id) const;
};

} // namespace core
