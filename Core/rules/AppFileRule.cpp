#include "Core/rules/AppFileRule.h"

#include <algorithm>
#include <atomic>

namespace core {
namespace {

std::atomic<NodeID> nodeCounter{0};

} // namespace

NodeID MatcherNode::id() const {
    if (const auto* file = std::get_if<FileMatcher>(&node_))
        return file->id;
    return std::get<std::shared_ptr<DirectoryMatcher>>(node_)->id;
}

const DirectoryMatcher* MatcherNode::directory() const {
    const auto* held = std::get_if<std::shared_ptr<DirectoryMatcher>>(&node_);
    return held ? held->get() : nullptr;
}

DirectoryMatcher* MatcherNode::directory() {
    auto* held = std::get_if<std::shared_ptr<DirectoryMatcher>>(&node_);
    return held ? held->get() : nullptr;
}

void AppFileRule::ListIndex::added(const MatcherNode& node, std::size_t position) {
    if (const auto* file = node.file()) {
        firstFile.try_emplace(file->matcher, position);
        if (file->matcher.type() == Matcher::Type::any && !firstAnyFile)
            firstAnyFile = position;
        if (file->matcher.type() == Matcher::Type::id && !firstIdFile)
            firstIdFile = position;
    } else {
        directory.try_emplace(node.directory()->matcher, position);
    }
}

std::optional<std::size_t> AppFileRule::ListIndex::find(const std::unordered_map<Matcher, std::size_t>& map,
                                                        const Matcher& matcher) {
    auto found = map.find(matcher);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::size_t> AppFileRule::ListIndex::firstWholeLevelOtherThan(const Matcher& matcher) const {
    std::optional<std::size_t> first;
    for (auto [position, type] :
         {std::pair{firstAnyFile, Matcher::Type::any}, {firstIdFile, Matcher::Type::id}})
        if (position && matcher.type() != type && (!first || *position < *first))
            first = position;
    return first;
}

namespace {

bool before(const std::optional<std::size_t>& a, const std::optional<std::size_t>& b) {
    return a && (!b || *a < *b);
}

} // namespace

// One rule entry while the index is built, with the rule it came from.
struct AppFileRule::Context {
    const PathMatcher* matcher;
    AppFileKind kind;
    RuleID ruleID;
    std::shared_ptr<MatcherIDSet> idSet;
};

namespace {

// Higher priority first; then, level by level, the more specific test first; then the deeper
// entry first.
bool insertedBefore(const PathMatcher& a, const PathMatcher& b) {
    if (a.priority != b.priority)
        return a.priority > b.priority;
    std::size_t shared = std::min(a.pathMatchers.size(), b.pathMatchers.size());
    for (std::size_t i = 0; i < shared; ++i)
        if (a.pathMatchers[i].specificity() != b.pathMatchers[i].specificity())
            return a.pathMatchers[i].specificity() > b.pathMatchers[i].specificity();
    if (a.pathMatchers.size() == b.pathMatchers.size())
        return a.nameMatcher.specificity() > b.nameMatcher.specificity();
    bool aLonger = a.pathMatchers.size() > b.pathMatchers.size();
    int longerNext = aLonger ? a.pathMatchers[shared].specificity() : b.pathMatchers[shared].specificity();
    int shorterName = aLonger ? b.nameMatcher.specificity() : a.nameMatcher.specificity();
    if (longerNext != shorterName)
        return aLonger ? longerNext > shorterName : shorterName > longerNext;
    return aLonger;
}

} // namespace

AppFileRule::AppFileRule(const RuleManager& manager, bool allSections) {
    std::vector<Context> contexts;
    for (const auto& [ruleID, rule] : manager.rules) {
        auto idSet = std::make_shared<MatcherIDSet>();
        switch (ruleID.type()) {
        case RuleID::Type::bundleID:
            matcherIDSet_[ruleID.id()] = idSet;
            break;
        case RuleID::Type::bundleIDRegex:
            regexMatcherIDSet_.emplace_back(*ruleID.expression(), idSet);
            break;
        case RuleID::Type::base:
            baseMatcherIDSet_ = idSet;
            break;
        case RuleID::Type::black:
        case RuleID::Type::system:
            break;
        }
        std::size_t sections = allSections ? ruleSectionCount : 2;
        for (std::size_t index = 0; index < sections; ++index) {
            if (!rule.sections[index])
                continue;
            for (const auto& [kind, matchers] : *rule.sections[index])
                for (const auto& matcher : matchers)
                    contexts.push_back({&matcher, kind, ruleID, idSet});
        }
    }
    std::stable_sort(contexts.begin(), contexts.end(), [](const Context& a, const Context& b) {
        return insertedBefore(*a.matcher, *b.matcher);
    });
    for (const auto& context : contexts)
        insert(context);
    listIndexes_.clear();
}

AppFileRule::ListIndex& AppFileRule::indexOf(const std::vector<MatcherNode>& list) {
    return listIndexes_[&list];
}

const AppFileRule& AppFileRule::full() {
    static const AppFileRule instance(RuleManager::shared(), true);
    return instance;
}

const AppFileRule& AppFileRule::cacheAndLog() {
    static const AppFileRule instance(RuleManager::shared(), false);
    return instance;
}

NodeID AppFileRule::nextID() {
    ++nodeCount_;
    return ++nodeCounter;
}

void AppFileRule::insert(const Context& context) {
    auto* list = &rules_[context.matcher->root.path()];
    for (const auto& level : context.matcher->pathMatchers) {
        auto* directory = findOrCreateDirectory(*list, level, *context.idSet);
        if (!directory)
            return;
        list = &directory->children;
    }
    addFile(*list, context);
}

// Goes through the list in order: a file node claiming the level whole or this name ends the
// search with no node; a directory node with this test is the one.
DirectoryMatcher* AppFileRule::findOrCreateDirectory(std::vector<MatcherNode>& list, const Matcher& matcher,
                                                     MatcherIDSet& idSet) {
    auto& index = indexOf(list);
    auto blockingWhole = index.firstAnyFile;
    if (before(index.firstIdFile, blockingWhole))
        blockingWhole = index.firstIdFile;
    auto blockingName = ListIndex::find(index.firstFile, matcher);
    auto directory = ListIndex::find(index.directory, matcher);
    if (before(blockingWhole, directory) || before(blockingName, directory))
        return nullptr;
    if (directory) {
        auto* found = list[*directory].directory();
        idSet.matcherIDs.insert(found->id);
        return found;
    }
    auto created = std::make_shared<DirectoryMatcher>(DirectoryMatcher{nextID(), matcher, {}});
    idSet.matcherIDs.insert(created->id);
    list.emplace_back(created);
    index.added(list.back(), list.size() - 1);
    return created.get();
}

// Goes through the list in order: a file node with the same test lets the entry join it only at
// the same priority; a file node claiming the level whole, or a folder of the same name with
// deeper entries, leaves no room for it.
void AppFileRule::addFile(std::vector<MatcherNode>& list, const Context& context) {
    const auto& name = context.matcher->nameMatcher;
    auto& index = indexOf(list);
    auto sameName = ListIndex::find(index.firstFile, name);
    auto wholeLevel = index.firstWholeLevelOtherThan(name);
    auto folder = ListIndex::find(index.directory, name);
    if (before(wholeLevel, sameName) || before(folder, sameName))
        return;
    if (sameName && list[*sameName].file()->priority != context.matcher->priority)
        return;
    NodeID id = nextID();
    list.emplace_back(FileMatcher{id, name, context.matcher->priority, context.kind, context.ruleID});
    index.added(list.back(), list.size() - 1);
    context.idSet->matcherIDs.insert(id);
}

std::unordered_set<NodeID> AppFileRule::matcherIDs(const std::string& id) const {
    std::unordered_set<NodeID> ids;
    auto add = [&](const MatcherIDSet& set) { ids.insert(set.matcherIDs.begin(), set.matcherIDs.end()); };
    if (auto own = matcherIDSet_.find(CaseInsensitiveString(id)); own != matcherIDSet_.end())
        add(*own->second);
    for (const auto& [expression, set] : regexMatcherIDSet_)
        if (expression.matches(id))
            add(*set);
    if (baseMatcherIDSet_)
        add(*baseMatcherIDSet_);
    return ids;
}

} // namespace core
