#include "Core/rules/PublicSuffixList.h"

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"

#include <sstream>
#include <vector>

namespace core {
namespace {

PublicSuffixRule& child(std::map<std::string, std::unique_ptr<PublicSuffixRule>>& level,
                        const std::string& label) {
    auto& node = level[label];
    if (!node)
        node = std::make_unique<PublicSuffixRule>();
    return *node;
}

} // namespace

PublicSuffixList::PublicSuffixList(const std::string& text) {
    std::stringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // A rule is the line up to the first blank.
        line = line.substr(0, line.find_first_of(" \t\r"));
        if (line.empty() || line.rfind("//", 0) == 0)
            continue;
        auto parts = splitDroppingEmpty(line, '.');
        if (parts.empty())
            continue;
        ++ruleCount_;
        bool exception = parts.front().front() == '!';
        if (exception)
            parts.front().erase(0, 1);
        // From the last label to the first; the first is handled below for wildcards and
        // exceptions.
        auto* level = &publicSuffixRules_;
        PublicSuffixRule* node = nullptr;
        for (auto label = parts.rbegin(); label + 1 != parts.rend(); ++label) {
            node = &child(*level, *label);
            level = &node->next;
        }
        const std::string& first = parts.front();
        if (first == "*" && node) {
            if (!node->exclude)
                node->exclude.emplace();
        } else if (exception && node) {
            if (!node->exclude)
                node->exclude.emplace();
            node->exclude->insert(first);
        } else {
            child(*level, first).isSuffix = true;
        }
    }
}

PublicSuffixList::LoadResult PublicSuffixList::fromFile(const std::string& path) {
    auto text = readFileContents(path);
    if (!text)
        return {nullptr, "cannot read the public suffix list " + path};
    auto list = std::make_shared<const PublicSuffixList>(*text);
    if (list->ruleCount() == 0)
        return {nullptr, "the public suffix list " + path + " holds no rule"};
    return {std::move(list), {}};
}

const PublicSuffixList::LoadResult& PublicSuffixList::sharedLoad() {
    static const LoadResult loaded =
        fromFile(SystemPaths::shared().resourcesDirectory() + "/public_suffix_list.dat");
    return loaded;
}

const PublicSuffixList& PublicSuffixList::shared() {
    static const PublicSuffixList none("");
    const auto& loaded = sharedLoad();
    return loaded.list ? *loaded.list : none;
}

std::optional<std::string> PublicSuffixList::organization(const std::string& bundleID) const {
    // The list is written in lower case; the answer keeps the spelling of the identifier.
    auto pieces = splitDroppingEmpty(bundleID, '.');
    auto labels = splitDroppingEmpty(CaseInsensitiveString(bundleID).lowercaseString(), '.');
    if (pieces.size() < 2 || labels.size() != pieces.size())
        return std::nullopt;
    auto top = publicSuffixRules_.find(labels[0]);
    if (top == publicSuffixRules_.end())
        return std::nullopt;
    const PublicSuffixRule* node = top->second.get();
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const std::string& piece = labels[i];
        bool last = i + 1 == pieces.size();
        if (auto deeper = node->next.find(piece); deeper != node->next.end()) {
            if (last)
                return std::nullopt;
            node = deeper->second.get();
            continue;
        }
        // Below a wildcard every label is a suffix of its own, but for the exceptions, which are
        // registrable themselves.
        if (node->exclude) {
            if (node->exclude->count(piece))
                return pieces[i];
            return last ? std::nullopt : std::optional<std::string>(pieces[i + 1]);
        }
        return node->isSuffix ? std::optional<std::string>(pieces[i]) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace core
