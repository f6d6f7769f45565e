#include "Core/rules/FileFinder.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"
#include "Core/platform/FileStatus.h"

namespace core {

std::int64_t FileInfo::size() {
    std::lock_guard lock(sizeMutex_);
    if (!size_)
        size_ = core::size(url);
    return *size_;
}

// What the walk carries into a folder: the owner named on the way down, and the nodes to hold
// against the folder.
struct FileFinder::FileContext {
    OwnerID id;
    const std::vector<MatcherNode>* rules;
};

// The folders of the next level with their contexts, each folder once, in the order they came.
class FileFinder::LevelBuilder {
public:
    void add(const std::shared_ptr<DirectoryInfo>& folder, FileContext context) {
        auto [position, added] = index_.emplace(folder.get(), level_.size());
        if (added)
            level_.push_back({folder, {}});
        level_[position->second].second.push_back(std::move(context));
    }
    Level take() { return std::move(level_); }

private:
    Level level_;
    std::unordered_map<const DirectoryInfo*, std::size_t> index_;
};

namespace {

std::shared_ptr<DirectoryInfo> enter(const DirectoryInfo& parent, FileNode& node) {
    if (node.state != FileNode::State::directory) {
        node.state = FileNode::State::directory;
        node.directory = std::make_shared<DirectoryInfo>(parent.url.appendingPathComponent(node.name));
    }
    return node.directory;
}

std::shared_ptr<FileInfo> claimFile(const DirectoryInfo& parent, FileNode& node, std::int64_t priority) {
    node.state = FileNode::State::file;
    node.file = std::make_shared<FileInfo>(parent.url.appendingPathComponent(node.name), priority);
    return node.file;
}

} // namespace

void FileFinder::walk(const Accept& accept, const Found& found) {
    LevelBuilder roots;
    for (const auto& [root, nodes] : appFileRule_.roots()) {
        auto& folder = cache_[root];
        if (!folder)
            folder = std::make_shared<DirectoryInfo>(URL::fileURL(root));
        roots.add(folder, {std::nullopt, &nodes});
    }
    for (Level current = roots.take(); !current.empty();) {
        LevelBuilder next;
        for (auto& [folder, contexts] : current) {
            bool concerned = false;
            for (const auto& context : contexts)
                for (const auto& node : *context.rules)
                    concerned = concerned || accept(node.id());
            if (!concerned)
                continue;
            // Every node, accepted or not, so that claims are settled in one order whichever
            // application comes first.
            for (const auto& context : contexts)
                for (const auto& node : *context.rules) {
                    if (FileFinderContext::currentIsInterrupted())
                        return;
                    if (const auto* directory = node.directory())
                        directoryStep(*folder, context, *directory, next);
                    else
                        fileStep(*folder, context, *node.file(), accept, found);
                }
        }
        current = next.take();
    }
}

void FileFinder::directoryStep(DirectoryInfo& folder, const FileContext& context,
                               const DirectoryMatcher& matcher, LevelBuilder& next) {
    if (auto known = folder.matched.find(matcher.matcher); known != folder.matched.end()) {
        if (!known->second.files)
            for (const auto& [id, directory] : known->second.directoryMatches)
                next.add(directory, {id, &matcher.children});
        return;
    }
    if (matcher.matcher.type() == Matcher::Type::string) {
        auto* node = lookup(folder, matcher.matcher.name());
        if (node && (node->state == FileNode::State::unknown || node->state == FileNode::State::directory))
            next.add(enter(folder, *node), {context.id, &matcher.children});
        return;
    }
    list(folder);
    MatchedResult result;
    for (auto& [name, node] : folder.children) {
        if (node.state != FileNode::State::directory && node.state != FileNode::State::unknown)
            continue;
        auto outcome = matcher.matcher.test(node.name);
        if (!outcome.accepted)
            continue;
        auto directory = enter(folder, node);
        result.directoryMatches.emplace_back(outcome.id, directory);
        next.add(directory, {outcome.id ? outcome.id : context.id, &matcher.children});
    }
    folder.matched.emplace(matcher.matcher, std::move(result));
}

void FileFinder::fileStep(DirectoryInfo& folder, const FileContext& context, const FileMatcher& matcher,
                          const Accept& accept, const Found& found) {
    auto claim = [&](const OwnerID& atHand, const std::shared_ptr<FileInfo>& file) {
        if (!accept(matcher.id))
            return;
        OwnerID id = atHand;
        if (!id && matcher.ruleID.type() == RuleID::Type::bundleID)
            id = matcher.ruleID.id();
        found(id, file, matcher.kind, matcher.ruleID);
    };
    if (auto known = folder.matched.find(matcher.matcher); known != folder.matched.end()) {
        if (known->second.files && matcher.priority >= known->second.priority)
            for (const auto& [id, file] : known->second.fileMatches)
                claim(id, file);
        return;
    }
    if (matcher.matcher.type() == Matcher::Type::string) {
        auto* node = lookup(folder, matcher.matcher.name());
        if (node && node->state == FileNode::State::unknown)
            claim(context.id, claimFile(folder, *node, matcher.priority));
        else if (node && node->state == FileNode::State::file && node->file->priority == matcher.priority)
            claim(context.id, node->file);
        return;
    }
    list(folder);
    MatchedResult result{true, matcher.priority, {}, {}};
    for (auto& [name, node] : folder.children) {
        bool candidate = node.state == FileNode::State::unknown ||
                         (node.state == FileNode::State::file && node.file->priority == matcher.priority);
        if (!candidate)
            continue;
        auto outcome = matcher.matcher.test(node.name);
        if (!outcome.accepted)
            continue;
        auto file =
            node.state == FileNode::State::file ? node.file : claimFile(folder, node, matcher.priority);
        result.fileMatches.emplace_back(outcome.id, file);
        claim(outcome.id ? outcome.id : context.id, file);
    }
    folder.matched.emplace(matcher.matcher, std::move(result));
}

void FileFinder::list(DirectoryInfo& folder) {
    if (folder.scanned)
        return;
    ++listings_;
    std::error_code error;
    // A folder that cannot be listed is an empty one.
    for (auto& entry : urlResources(folder.url, URLNameKey, error)) {
        auto& name = *entry.resourceValues.name;
        auto [node, added] = folder.children.try_emplace(CaseInsensitiveString(name),
                                                         FileNode{FileNode::State::unknown, name, {}, {}});
        // A literal looked up earlier with another case finds nothing on a case-sensitive file
        // system; the listing shows the name as the disk spells it.
        if (!added && node->second.state == FileNode::State::notExists)
            node->second = FileNode{FileNode::State::unknown, name, {}, {}};
    }
    folder.scanned = true;
}

FileNode* FileFinder::lookup(DirectoryInfo& folder, const CaseInsensitiveString& name) {
    if (auto known = folder.children.find(name); known != folder.children.end())
        return &known->second;
    if (folder.scanned)
        return nullptr;
    ++lookups_;
    // A link whose target is gone is nothing an application keeps, and its size is not the size of
    // what it stood for.
    bool exists =
        fileStatus(folder.url.appendingPathComponent(name.origin()).path(), LinkHandling::follow).has_value();
    auto state = exists ? FileNode::State::unknown : FileNode::State::notExists;
    return &folder.children.emplace(name, FileNode{state, name.origin(), {}, {}}).first->second;
}

std::vector<AppFile> FileFinder::appFiles(const std::vector<Record>& records) {
    std::vector<AppFile> files;
    files.reserve(records.size());
    for (const auto& record : records)
        files.emplace_back(record.file->url, record.kind, record.owner, record.file->size());
    return files;
}

} // namespace core
