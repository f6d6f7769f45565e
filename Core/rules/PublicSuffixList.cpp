#include "Core/rules/PublicSuffixList.h"

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

const PublicSuffixList& PublicSuffixList::shared() {
    static const PublicSuffixList list(
        readFileContents(SystemPaths::shared().resourcesDirectory() + "/public_suffix_list.dat")
            .value_or(""));
    return list;
}

std::optional<std::string> PublicSuffixList::organization(const std::string& bundleID) const {
    auto pieces = splitDroppingEmpty(bundleID, '.');
    if (pieces.size() < 2)
        return std::nullopt;
    auto top = publicSuffixRules_.find(pieces[0]);
    if (top == publicSuffixRules_.end())
        return std::nullopt;
    const PublicSuffixRule* node = top->second.get();
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const std::string& piece = pieces[i];
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
                return piece;
            return last ? std::nullopt : std::optional<std::string>(pieces[i + 1]);
        }
        return node->isSuffix ? std::optional<std::string>(piece) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace core
