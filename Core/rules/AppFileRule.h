// The matcher index: the flat rules compiled into one tree of matchers per root folder, so that a
// walk visits each folder once for all rules together, and per rule the set of node ids that
// belong to it, so that a scan for one application keeps to its nodes by integer set tests.
//
// Two process-wide instances: the full one with every section, and the cache-and-log one with
// only "caches" and "logs". Node ids come from one process-wide counter, unique in the process.
//
// Threading: built once under a guard; immutable and read from any thread afterwards.
#pragma once

#include "Core/rules/RuleManager.h"

#include <map>
#include <memory>
#include <unordered_set>
#include <variant>

namespace core {

using NodeID = std::int64_t;

// The ids of all nodes of one rule, shared by its entries while the index is built.
struct MatcherIDSet {
    std::unordered_set<NodeID> matcherIDs;
};

struct FileMatcher {
    NodeID id;
    Matcher matcher;
    std::int64_t priority;
    AppFileKind kind;
    RuleID ruleID;
};

struct DirectoryMatcher;

// One node of a tree level: a folder to enter, or a name that a rule claims whole.
class MatcherNode {
public:
    explicit MatcherNode(std::shared_ptr<DirectoryMatcher> directory) : node_(std::move(directory)) {}
    explicit MatcherNode(FileMatcher file) : node_(std::move(file)) {}

    NodeID id() const;
    const DirectoryMatcher* directory() const;
    DirectoryMatcher* directory();
    const FileMatcher* file() const { return std::get_if<FileMatcher>(&node_); }

private:
    std::variant<std::shared_ptr<DirectoryMatcher>, FileMatcher> node_;
};

struct DirectoryMatcher {
    NodeID id;
    Matcher matcher;
    std::vector<MatcherNode> children;
};

class AppFileRule {
public:
    // Compiles every section, or only "caches" and "logs".
    AppFileRule(const RuleManager& rules, bool allSections);

    static const AppFileRule& full();
    static const AppFileRule& cacheAndLog();

    // The nodes that concern an application: those of its own rule, of every expression rule that
    // matches it, and of the base rule.
    std::unordered_set<NodeID> matcherIDs(const std::string& id) const;

    // The forest, by root folder, in a stable order.
    const std::map<std::string, std::vector<MatcherNode>>& roots() const { return rules_; }
    std::size_t nodeCount() const { return nodeCount_; }

private:
    struct Context;
    // The first position of each kind of node in one list, as the insertion rules ask for them.
    struct ListIndex {
        std::unordered_map<Matcher, std::size_t> firstFile;
        std::unordered_map<Matcher, std::size_t> directory;
        std::optional<std::size_t> firstAnyFile;
        std::optional<std::size_t> firstIdFile;

        void added(const MatcherNode& node, std::size_t position);
        static std::optional<std::size_t> find(const std::unordered_map<Matcher, std::size_t>& map,
                                               const Matcher& matcher);
        // The first file node that claims the whole level with a test other than `matcher`.
        std::optional<std::size_t> firstWholeLevelOtherThan(const Matcher& matcher) const;
    };
    void insert(const Context& context);
    ListIndex& indexOf(const std::vector<MatcherNode>& list);
    DirectoryMatcher* findOrCreateDirectory(std::vector<MatcherNode>& list, const Matcher& matcher,
                                            MatcherIDSet& idSet);
    void addFile(std::vector<MatcherNode>& list, const Context& context);
    NodeID nextID();

    std::map<std::string, std::vector<MatcherNode>> rules_;
    std::unordered_map<CaseInsensitiveString, std::shared_ptr<MatcherIDSet>> matcherIDSet_;
    std::vector<std::pair<Regex, std::shared_ptr<MatcherIDSet>>> regexMatcherIDSet_;
    std::shared_ptr<MatcherIDSet> baseMatcherIDSet_;
    std::size_t nodeCount_ = 0;
    // While the forest is built: where in each node list the matchers stand, so that an insertion
    // need not go through the whole list.
    std::unordered_map<const std::vector<MatcherNode>*, ListIndex> listIndexes_;
};

} // namespace core
