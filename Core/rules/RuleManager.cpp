#include "Core/rules/RuleManager.h"

#include "Core/foundation/AESHelper.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"

#include <unordered_set>
#include <yaml-cpp/yaml.h>

namespace core {

std::optional<RuleID> RuleID::parse(const std::string& key, std::string* reason) {
    if (key.empty()) {
        if (reason)
            *reason = "an empty rule key";
        return std::nullopt;
    }
    if (key == "*")
        return base();
    if (key == "@")
        return black();
    if (key == "#")
        return system();
    if (key.front() == '*') {
        std::string error;
        auto expression = Regex::compile("^" + key.substr(1) + "$", true, &error);
        if (!expression) {
            if (reason)
                *reason = "the rule key " + key + " is no valid expression (" + error + ")";
            return std::nullopt;
        }
        expression->setSource(key);
        return bundleIDRegex(std::move(*expression));
    }
    return bundleID(key);
}

int RuleID::rank() const {
    switch (type_) {
    case Type::bundleID:
        return 4;
    case Type::bundleIDRegex:
        return 3;
    case Type::black:
        return 2;
    case Type::base:
        return 1;
    case Type::system:
        return 9;
    }
    return 0;
}

std::string RuleID::description() const {
    switch (type_) {
    case Type::bundleID:
        return id_.origin();
    case Type::bundleIDRegex:
        return "*" + expression_->pattern().substr(1, expression_->pattern().size() - 2);
    case Type::base:
        return "*";
    case Type::black:
        return "@";
    case Type::system:
        return "#";
    }
    return {};
}

bool operator==(const RuleID& a, const RuleID& b) {
    if (a.type_ != b.type_)
        return false;
    if (a.type_ == RuleID::Type::bundleID)
        return a.id_ == b.id_;
    if (a.type_ == RuleID::Type::bundleIDRegex)
        return *a.expression_ == *b.expression_;
    return true;
}

const char* sectionName(RuleSection section) {
    static const char* names[] = {"caches",       "logs",    "support", "library",        "loginItems",
                                  "crashReports", "plugins", "shared",  "preferencePanes"};
    return names[static_cast<std::size_t>(section)];
}

namespace {

// A document that cannot be used: the load stops with this message.
struct InvalidDocument {
    std::string message;
};

std::string describe(const YAML::Node& node) {
    switch (node.Type()) {
    case YAML::NodeType::Map:
        return "a mapping";
    case YAML::NodeType::Sequence:
        return "a list";
    case YAML::NodeType::Scalar:
        return "a text";
    default:
        return "nothing";
    }
}

void require(const YAML::Node& node, YAML::NodeType::value type, const std::string& where,
             const char* expected) {
    if (node.Type() != type)
        throw InvalidDocument{where + " must be " + expected + ", not " + describe(node)};
}

std::vector<CaseInsensitiveString> readIds(const YAML::Node& node, const std::string& where) {
    require(node, YAML::NodeType::Sequence, where, "a list of identifiers");
    std::vector<CaseInsensitiveString> ids;
    for (const auto& id : node) {
        require(id, YAML::NodeType::Scalar, where, "a list of identifiers");
        ids.emplace_back(id.Scalar());
    }
    return ids;
}

// The expressions of one parsed entry, in its pieces' order.
std::vector<const Regex*> expressionsOf(const PathMatcher& matcher) {
    std::vector<const Regex*> expressions;
    for (const auto& piece : matcher.pathMatchers)
        if (piece.expression())
            expressions.push_back(&*piece.expression());
    if (matcher.nameMatcher.expression())
        expressions.push_back(&*matcher.nameMatcher.expression());
    return expressions;
}

class DocumentLoader {
public:
    DocumentLoader(RuleManager& manager, const RuleRoots& roots, RuleManager::ExpressionProbe probe)
        : manager_(manager), roots_(roots), probe_(probe == RuleManager::ExpressionProbe::probe) {}

    void load(const std::string& text) {
        // Every name the rules hold is shown and compared as text.
        if (!isValidUtf8(text))
            throw InvalidDocument{"the rule document is no UTF-8 text"};
        YAML::Node document;
        try {
            document = YAML::Load(text);
        } catch (const YAML::Exception& error) {
            throw InvalidDocument{std::string("the rule document is no valid YAML: ") + error.what()};
        }
        if (document.IsNull())
            return;
        require(document, YAML::NodeType::Map, "the rule document", "a mapping of rule keys");
        for (const auto& entry : document)
            loadRule(entry.first.Scalar(), entry.second);
    }

private:
    void loadRule(const std::string& key, const YAML::Node& body) {
        std::string reason;
        auto ruleID = RuleID::parse(key, &reason);
        if (!ruleID)
            throw InvalidDocument{reason};
        noteRepeatedKey(key, *ruleID);
        if (ruleID->expression())
            probe(*ruleID->expression(), {key, "", "", "", ""});
        std::string where = "the rule " + key;
        if (!body.IsNull())
            require(body, YAML::NodeType::Map, where, "a mapping");
        ExtraInfo extra;
        if (body["ids"])
            extra.ids = readIds(body["ids"], where + " \"ids\"");
        if (body["organization"]) {
            require(body["organization"], YAML::NodeType::Scalar, where + " \"organization\"", "a text");
            extra.organization = CaseInsensitiveString(body["organization"].Scalar());
        }
        if (ruleID->type() == RuleID::Type::bundleID)
            manager_.extraInfos.insert_or_assign(ruleID->id(), extra);
        if (ruleID->type() == RuleID::Type::bundleIDRegex)
            manager_.regexExtraInfos.emplace_back(*ruleID->expression(), extra);

        Rule rule;
        for (std::size_t index = 0; index < ruleSectionCount; ++index) {
            auto section = static_cast<RuleSection>(index);
            if (auto node = body[sectionName(section)])
                rule.sections[index] = loadSection(key, *ruleID, section, node);
        }
        manager_.rules.insert_or_assign(*ruleID, std::move(rule));
    }

    RuleSectionEntries loadSection(const std::string& key, const RuleID& ruleID, RuleSection section,
                                   const YAML::Node& node) {
        std::string where = "the section " + std::string(sectionName(section)) + " of " + key;
        RuleSectionEntries entries;
        if (node.IsNull())
            return entries;
        require(node, YAML::NodeType::Map, where, "a mapping of kinds to lists of paths");
        std::int64_t priority = ruleID.rank() * 10 + (section == RuleSection::support ? 1 : 0);
        for (const auto& kindEntry : node) {
            const std::string kind = kindEntry.first.Scalar();
            auto& matchers = entries[AppFileKind::fromKey(kind)];
            if (kindEntry.second.IsNull())
                continue;
            require(kindEntry.second, YAML::NodeType::Sequence, where + " kind " + kind, "a list of paths");
            for (const auto& path : kindEntry.second) {
                require(path, YAML::NodeType::Scalar, where + " kind " + kind, "a list of paths");
                auto parsed = PathMatcher::parse(path.Scalar(), priority, roots_);
                if (parsed.status == ParsedEntry::Status::invalid)
                    throw InvalidDocument{where + ", entry " + path.Scalar() + ": " + parsed.reason};
                EntryNote note{key, sectionName(section), kind, path.Scalar(), parsed.reason};
                if (!parsed.matcher) {
                    manager_.dropped.push_back(std::move(note));
                    continue;
                }
                for (const auto* expression : expressionsOf(*parsed.matcher))
                    probe(*expression, note);
                matchers.push_back(std::move(*parsed.matcher));
            }
        }
        return entries;
    }

    // Keys equal as rule identifiers (the same id in another case, or written twice) replace one
    // another: the later one wins, which an author rarely means.
    void noteRepeatedKey(const std::string& key, const RuleID& ruleID) {
        auto [earlier, added] = keys_.emplace(ruleID, key);
        if (!added)
            manager_.warnings.push_back(
                {key, "", "", "", "the rule key repeats " + earlier->second + "; the later one replaces it"});
    }

    void probe(const Regex& expression, EntryNote note) {
        if (!probe_ || !expression.backtracksCatastrophically())
            return;
        note.reason = "the expression " + expression.pattern() + " backtracks without end on a near miss";
        manager_.warnings.push_back(std::move(note));
    }

    RuleManager& manager_;
    const RuleRoots& roots_;
    const bool probe_;
    std::unordered_map<RuleID, std::string> keys_;
};

// The folder that holds the per-user temporary folders beside their caches; where the temporary
// folder sits at the top of the disk, as "/tmp" does on Linux, there is no such folder and the
// temporary folder itself is the root. The top is that of the root the library scans under.
std::string temporaryRoot(const SystemPaths& paths) {
    auto temporary = URL::fileURL(paths.temporaryDirectory());
    auto parent = temporary.deletingLastPathComponent();
    bool atTop = parent.path() == "/" || parent.path() == paths.root() || parent.empty();
    return atTop ? temporary.path() : parent.path();
}

} // namespace

RuleRoots RuleManager::currentRoots() {
    const auto& paths = SystemPaths::shared();
    return {paths.root(), paths.home(), paths.userLibrary(), temporaryRoot(paths)};
}

RuleManager::LoadResult RuleManager::fromDocument(const std::string& yaml, const RuleRoots& roots,
                                                  ExpressionProbe probe) {
    auto manager = std::make_shared<RuleManager>();
    try {
        DocumentLoader(*manager, roots, probe).load(yaml);
    } catch (const InvalidDocument& invalid) {
        return {nullptr, invalid.message};
    }
    return {std::move(manager), {}};
}

RuleManager::LoadResult RuleManager::fromEncryptedFile(const std::string& path, const RuleRoots& roots) {
    auto bytes = readFileContents(path);
    if (!bytes)
        return {nullptr, "cannot read the rule document " + path};
    auto text = AESHelper::shared().decrypt(*bytes);
    if (!text)
        return {nullptr, "the rule document " + path + " does not decipher to text: it is damaged"};
    return fromDocument(*text, roots);
}

const RuleManager::LoadResult& RuleManager::sharedLoad() {
    static const LoadResult loaded =
        fromEncryptedFile(SystemPaths::shared().resourcesDirectory() + "/ruleInfo.txt", currentRoots());
    return loaded;
}

const RuleManager& RuleManager::shared() {
    static const RuleManager none;
    const auto& loaded = sharedLoad();
    return loaded.manager ? *loaded.manager : none;
}

RuleManager::Extra RuleManager::extraInfo(const std::string& id) const {
    std::unordered_set<CaseInsensitiveString> ids;
    Extra extra;
    auto take = [&](const ExtraInfo& info) {
        if (info.ids)
            ids.insert(info.ids->begin(), info.ids->end());
        extra.organization = info.organization;
    };
    for (const auto& [expression, info] : regexExtraInfos)
        if (expression.matches(id))
            take(info);
    if (auto exact = extraInfos.find(CaseInsensitiveString(id)); exact != extraInfos.end())
        take(exact->second);
    extra.ids.assign(ids.begin(), ids.end());
    return extra;
}

} // namespace core

std::size_t std::hash<core::RuleID>::operator()(const core::RuleID& id) const noexcept {
    using Type = core::RuleID::Type;
    std::size_t number = static_cast<std::size_t>(id.type());
    if (id.type() == Type::bundleID)
        return number ^ (std::hash<core::CaseInsensitiveString>()(id.id()) << 3);
    if (id.type() == Type::bundleIDRegex)
        return number ^ (std::hash<core::Regex>()(*id.expression()) << 3);
    return number;
}
