// tidewell rules: what the rule document holds and how it compiles, a check of a plain document
// for resource authors, and the enciphering of documents.
#include "cli/Command.h"
#include "cli/JsonBytes.h"
#include "cli/Terminal.h"

#include "Core/foundation/AESHelper.h"
#include "Core/rules/AppFileRule.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

namespace tidewell {
namespace {

std::string readFile(const std::string& path) {
    std::error_code error;
    // A folder opens as a stream that reads nothing, which would pass for an empty document.
    if (std::filesystem::is_directory(path, error))
        throw UsageError(path + " is a folder, not a document");
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw UsageError("cannot read " + path);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!(out << bytes))
        throw UsageError("cannot write " + path);
}

const char* typeName(core::RuleID::Type type) {
    switch (type) {
    case core::RuleID::Type::bundleID:
        return "bundleID";
    case core::RuleID::Type::bundleIDRegex:
        return "bundleIDRegex";
    case core::RuleID::Type::base:
        return "base";
    case core::RuleID::Type::black:
        return "black";
    case core::RuleID::Type::system:
        return "system";
    }
    return "";
}

nlohmann::json notesJson(const std::vector<core::EntryNote>& notes) {
    auto array = nlohmann::json::array();
    for (const auto& entry : notes)
        array.push_back({{"rule", jsonBytes(entry.ruleKey)},
                         {"section", jsonBytes(entry.section)},
                         {"kind", jsonBytes(entry.kind)},
                         {"entry", jsonBytes(entry.entry)},
                         {"reason", jsonBytes(entry.reason)}});
    return array;
}

nlohmann::json indexJson(const core::AppFileRule& index) {
    nlohmann::json roots = nlohmann::json::object();
    std::function<std::size_t(const std::vector<core::MatcherNode>&)> count = [&](const auto& nodes) {
        std::size_t total = nodes.size();
        for (const auto& node : nodes)
            if (const auto* directory = node.directory())
                total += count(directory->children);
        return total;
    };
    for (const auto& [root, nodes] : index.roots())
        roots[root] = count(nodes);
    return {{"nodes", index.nodeCount()}, {"roots", roots}};
}

nlohmann::json summary(const core::RuleManager& rules) {
    std::map<std::string, std::size_t> byType;
    std::map<std::string, std::size_t> entriesBySection;
    for (const auto& [id, rule] : rules.rules) {
        ++byType[typeName(id.type())];
        for (std::size_t index = 0; index < core::ruleSectionCount; ++index)
            if (rule.sections[index])
                for (const auto& [kind, matchers] : *rule.sections[index])
                    entriesBySection[core::sectionName(static_cast<core::RuleSection>(index))] +=
                        matchers.size();
    }
    return {{"rules", byType},
            {"entries", entriesBySection},
            {"dropped", notesJson(rules.dropped)},
            {"warnings", notesJson(rules.warnings)},
            {"indexes",
             {{"full", indexJson(core::AppFileRule(rules, true))},
              {"cacheAndLog", indexJson(core::AppFileRule(rules, false))}}}};
}

void printNotes(const char* title, const std::vector<core::EntryNote>& notes) {
    std::cout << title << ": " << notes.size() << '\n';
    for (const auto& entry : notes)
        std::cout << "  " << printable(entry.ruleKey) << " / " << printable(entry.section) << " / "
                  << printable(entry.kind) << ": " << printable(entry.entry) << " ("
                  << printable(entry.reason) << ")\n";
}

void printHuman(const nlohmann::json& report, const core::RuleManager& rules) {
    std::cout << "Rules:";
    for (const auto& [type, count] : report["rules"].items())
        std::cout << "  " << type << " " << count;
    std::cout << "\nEntries:";
    for (const auto& [section, count] : report["entries"].items())
        std::cout << "  " << section << " " << count;
    std::cout << '\n';
    for (const auto& [name, index] : report["indexes"].items()) {
        std::cout << "Index " << name << ": " << index["nodes"] << " nodes\n";
        for (const auto& [root, count] : index["roots"].items())
            std::cout << "  " << root << "  " << count << '\n';
    }
    printNotes("Dropped entries", rules.dropped);
    printNotes("Warnings", rules.warnings);
}

class RulesCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("rules", "what the rule document holds, and tools for its authors");
        sub->add_option("--check", check_,
                        "validate a plain YAML rule document and list every dropped entry");
        sub->add_option("--encrypt", encrypt_, "encipher a plain document: IN OUT")->expected(2);
        sub->add_option("--decrypt", decrypt_, "decipher a document: IN OUT")->expected(2);
        return sub;
    }

    int run(const GlobalOptions& options) override {
        if (!encrypt_.empty()) {
            auto cipher = core::AESHelper::shared().encrypt(readFile(encrypt_[0]));
            if (!cipher)
                throw UsageError(encrypt_[0] + " is too large to encipher");
            writeFile(encrypt_[1], *cipher);
            return 0;
        }
        if (!decrypt_.empty()) {
            auto plain = core::AESHelper::shared().decryptBytes(readFile(decrypt_[0]));
            if (!plain)
                throw UsageError(decrypt_[0] + " does not decipher");
            writeFile(decrypt_[1], *plain);
            return 0;
        }
        auto loaded =
            check_.empty()
                ? core::RuleManager::sharedLoad()
                : core::RuleManager::fromDocument(readFile(check_), core::RuleManager::currentRoots(),
                                                  core::RuleManager::ExpressionProbe::probe);
        if (!loaded.manager)
            throw UsageError(loaded.error);
        auto report = summary(*loaded.manager);
        if (options.json)
            std::cout << report.dump(2) << '\n';
        else
            printHuman(report, *loaded.manager);
        // A check fails when the grammar dropped or warned of anything, so that a script can stop
        // on it.
        bool findings = !loaded.manager->dropped.empty() || !loaded.manager->warnings.empty();
        return !check_.empty() && findings ? 1 : 0;
    }

private:
    std::string check_;
    std::vector<std::string> encrypt_;
    std::vector<std::string> decrypt_;
};

} // namespace

std::unique_ptr<Command> makeRulesCommand() {
    return std::make_unique<RulesCommand>();
}

} // namespace tidewell
