#include "Core/foundation/AESHelper.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/SystemPaths.h"
#include "Core/rules/RuleManager.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

using namespace core;
using core::testing::TempTree;

namespace {

const RuleRoots roots{"/mac", "/Users/ann", "/Users/ann/Library", "/var/folders/xy/abc"};

std::shared_ptr<const RuleManager> load(const std::string& yaml) {
    auto loaded = RuleManager::fromDocument(yaml, roots);
    EXPECT_TRUE(loaded.manager) << loaded.error;
    return loaded.manager;
}

PathMatcher parsed(const std::string& entry, std::int64_t priority = 40) {
    auto result = PathMatcher::parse(entry, priority, roots);
    EXPECT_EQ(result.status, ParsedEntry::Status::parsed) << entry << ": " << result.reason;
    return result.matcher.value_or(PathMatcher{});
}

TEST(AESHelper, TextComesBackWithoutNuls) {
    const auto& helper = AESHelper::shared();
    auto cipher = helper.encrypt(std::string("rules:\0 yes", 11)).value();
    EXPECT_EQ(cipher.size() % 16, 0u);
    EXPECT_EQ(helper.decrypt(cipher), "rules: yes");
    EXPECT_FALSE(helper.decrypt(cipher.substr(0, cipher.size() - 1)).has_value());
    EXPECT_FALSE(helper.decrypt("").has_value());
}

TEST(AESHelper, RefusesWhatDeciphersToNoText) {
    const auto& helper = AESHelper::shared();
    EXPECT_FALSE(helper.decrypt(helper.encrypt("\xff\xfe not text").value()).has_value());
}

TEST(AESHelper, BytesRoundTripExactly) {
    const auto& helper = AESHelper::shared();
    std::string bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    bytes += std::string(3, '\0');
    EXPECT_EQ(helper.decryptBytes(helper.encrypt(bytes).value()), bytes);
    EXPECT_EQ(helper.decryptBytes(helper.encrypt("").value()), "");
}

TEST(RuleID, KeysByTheirForm) {
    EXPECT_EQ(RuleID::parse("*")->type(), RuleID::Type::base);
    EXPECT_EQ(RuleID::parse("@")->type(), RuleID::Type::black);
    EXPECT_EQ(RuleID::parse("#")->type(), RuleID::Type::system);
    auto expression = RuleID::parse("*com\\.example\\..*");
    ASSERT_EQ(expression->type(), RuleID::Type::bundleIDRegex);
    EXPECT_TRUE(expression->expression()->matches("COM.EXAMPLE.APP"));
    EXPECT_EQ(*RuleID::parse("com.example.app"), *RuleID::parse("Com.Example.App"));
    EXPECT_EQ(std::hash<RuleID>()(*RuleID::parse("com.example.app")),
              std::hash<RuleID>()(*RuleID::parse("COM.example.app")));
    EXPECT_EQ(*RuleID::parse("*a.*"), *RuleID::parse("*a.*"));
    EXPECT_FALSE(RuleID::parse("").has_value());
    EXPECT_FALSE(RuleID::parse("*(unclosed").has_value());
}

TEST(PathMatcher, RootsPiecesAndPriorities) {
    auto caches = parsed("Lib/Caches/org.example.App");
    EXPECT_EQ(caches.root.path(), "/Users/ann/Library");
    ASSERT_EQ(caches.pathMatchers.size(), 1u);
    EXPECT_EQ(caches.pathMatchers[0], Matcher::string("caches"));
    EXPECT_EQ(caches.nameMatcher, Matcher::string("org.example.App"));

    auto support = parsed("55:Lib/Application Support/**", 41);
    EXPECT_EQ(support.priority, 55);
    EXPECT_EQ(support.nameMatcher.type(), Matcher::Type::id);
    EXPECT_EQ(parsed("7:Lib/Logs/*", 41).priority, 7);

    auto documents = parsed("Home/Documents/*Example.*\\.log");
    EXPECT_EQ(documents.root.path(), "/Users/ann");
    EXPECT_EQ(documents.nameMatcher.expression()->pattern(), "^Example.*\\.log$");

    auto preferences = parsed("/Library/Preferences/^org\\.example\\.");
    EXPECT_EQ(preferences.root.path(), "/mac");
    EXPECT_EQ(preferences.pathMatchers.size(), 2u);
    EXPECT_EQ(preferences.nameMatcher.expression()->pattern(), "^org\\.example\\.");

    auto temporary = parsed("Tmp/*/org.example.App");
    EXPECT_EQ(temporary.root.path(), "/var/folders/xy/abc");
    EXPECT_EQ(temporary.pathMatchers[0].type(), Matcher::Type::any);

    auto messy = parsed("Home//Library///Logs/x/");
    auto clean = parsed("Home/Library/Logs/x");
    EXPECT_EQ(messy.pathMatchers, clean.pathMatchers);
    EXPECT_EQ(messy.nameMatcher, clean.nameMatcher);
    EXPECT_TRUE(parsed("/x").pathMatchers.empty());
}

TEST(PathMatcher, DropsWhatDoesNotParse) {
    for (const auto* entry :
         {"Lib", "Home/", "Var/Logs/x", "home/Library/x", "/", "Lib/^(bad", "Lib/Caches/*(x"}) {
        auto result = PathMatcher::parse(entry, 40, roots);
        EXPECT_EQ(result.status, ParsedEntry::Status::dropped) << entry;
        EXPECT_FALSE(result.reason.empty());
    }
    EXPECT_EQ(PathMatcher::parse("99999999999999999999:Lib/x/y", 40, roots).status,
              ParsedEntry::Status::invalid);
}

TEST(PathMatcher, ResolvesDotPiecesInsideTheRoot) {
    auto resolved = parsed("Home/Library/./Caches/../Logs/x");
    EXPECT_EQ(resolved.root.path(), "/Users/ann");
    EXPECT_EQ(resolved.pathMatchers,
              (std::vector<Matcher>{Matcher::string("Library"), Matcher::string("Logs")}));
    EXPECT_EQ(resolved.nameMatcher, Matcher::string("x"));
    EXPECT_EQ(parsed("/Library/../etc").pathMatchers.size(), 0u);
    EXPECT_EQ(parsed("/Library/../etc").nameMatcher, Matcher::string("etc"));
}

TEST(PathMatcher, DropsPathsThatLeaveTheirRoot) {
    for (const auto* entry : {"Home/../../../../etc", "/../../../tmp/x", "Lib/Caches/../../x", "Tmp/../x",
                              "/a/..", "Home/x/..", "Lib/*/../../y"}) {
        auto result = PathMatcher::parse(entry, 40, roots);
        EXPECT_EQ(result.status, ParsedEntry::Status::dropped) << entry;
        EXPECT_FALSE(result.matcher.has_value()) << entry;
    }
    auto document = load("a.app:\n  caches:\n    cache: ['Home/../../../../etc', Lib/Caches/A]\n");
    ASSERT_EQ(document->dropped.size(), 1u);
    EXPECT_EQ(document->dropped[0].entry, "Home/../../../../etc");
    EXPECT_NE(document->dropped[0].reason.find("leaves its root"), std::string::npos);
}

TEST(Matcher, TestsNamesAndYieldsOwners) {
    auto named = Matcher::parse("^(?<id>[a-z.]+)\\.plist$");
    auto outcome = named->test("Com.Example.App.plist");
    EXPECT_TRUE(outcome.accepted);
    EXPECT_EQ(outcome.id->origin(), "Com.Example.App");
    auto plain = Matcher::parse("*Example.*");
    EXPECT_TRUE(plain->test("myexample").accepted == false);
    EXPECT_TRUE(plain->test("EXAMPLE.log").accepted);
    EXPECT_FALSE(plain->test("EXAMPLE.log").id.has_value());
    EXPECT_TRUE(Matcher::any().test("x").accepted);
    EXPECT_FALSE(Matcher::any().test("x").id.has_value());
    EXPECT_EQ(Matcher::id().test("x").id->origin(), "x");
    EXPECT_EQ(Matcher::string("Caches"), Matcher::string("caches"));
    EXPECT_EQ(std::hash<Matcher>()(Matcher::string("Caches")),
              std::hash<Matcher>()(Matcher::string("caches")));
    EXPECT_EQ(*Matcher::parse("*a.+"), *Matcher::parse("*a.+"));
    EXPECT_NE(Matcher::any(), Matcher::id());
}

TEST(RuleManager, LoadsRulesWithKindsPrioritiesAndExtraInfo) {
    auto rules = load(R"(
"*":
  caches:
    cache: [Lib/Caches/**]
  support:
    support: [Lib/Application Support/**, "7:Lib/Logs/*"]
    "*": [Lib/x/y]
com.example.app:
  ids: [Example, com.example.helper]
  organization: Example Inc
  logs:
    log: [Lib/Logs/Example, Lib, Var/x/y]
  library: {}
"@":
  ids: [ignored]
)");
    ASSERT_TRUE(rules);
    EXPECT_EQ(rules->rules.size(), 3u);
    const auto& base = rules->rules.at(RuleID::base());
    EXPECT_EQ(base.section(RuleSection::caches)->at(AppFileKind::Tag::cache)[0].priority, 10);
    const auto& support = *base.section(RuleSection::support);
    EXPECT_EQ(support.at(AppFileKind::Tag::support)[0].priority, 11);
    EXPECT_EQ(support.at(AppFileKind::Tag::support)[1].priority, 7);
    EXPECT_EQ(support.count(AppFileKind::other("*")), 1u);
    const auto& example = rules->rules.at(RuleID::bundleID("COM.EXAMPLE.APP"));
    EXPECT_EQ(example.section(RuleSection::logs)->at(AppFileKind::Tag::log).size(), 1u);
    EXPECT_TRUE(example.section(RuleSection::library)->empty());
    EXPECT_FALSE(example.section(RuleSection::caches).has_value());
    EXPECT_EQ(rules->dropped.size(), 2u);
    EXPECT_EQ(rules->dropped[0].ruleKey, "com.example.app");
    EXPECT_EQ(rules->dropped[0].entry, "Lib");

    auto extra = rules->extraInfo("com.example.APP");
    EXPECT_EQ(extra.organization->origin(), "Example Inc");
    EXPECT_EQ(extra.ids.size(), 2u);
    EXPECT_TRUE(rules->extraInfo("org.unknown").ids.empty());
    EXPECT_FALSE(rules->extraInfo("org.unknown").organization.has_value());
}

TEST(RuleManager, TheExactRuleHasTheLastWordOnTheOrganization) {
    auto rules = load(R"(
'*com\.example\..*':
  organization: Example
  ids: [from-pattern]
com.example.app:
  ids: [from-rule]
)");
    auto extra = rules->extraInfo("com.example.app");
    EXPECT_FALSE(extra.organization.has_value());
    EXPECT_EQ(extra.ids.size(), 2u);
    EXPECT_EQ(rules->extraInfo("com.example.other").organization->origin(), "Example");
}

TEST(RuleManager, RefusesDocumentsItCannotUse) {
    for (const auto* document :
         {"- a list", "'': {}", "\"*(\": {}", "a: [1, 2]", "a:\n  caches: [x]",
          "a:\n  caches:\n    cache: Lib/x/y", "a:\n  caches:\n    cache: ['99999999999999999999:Lib/x/y']",
          "a: {caches: {cache: [Lib/x]}\n",
          "com.ex\xff"
          "ample: {}\n"}) {
        auto loaded = RuleManager::fromDocument(document, roots);
        EXPECT_FALSE(loaded.manager) << document;
        EXPECT_FALSE(loaded.error.empty()) << document;
    }
    EXPECT_TRUE(RuleManager::fromDocument("", roots).manager);
}

TEST(RuleManager, WarnsOfRepeatedKeysAndKeepsTheLater) {
    auto rules = load("com.a.b:\n  organization: First\ncom.a.b:\n  organization: Second\n"
                      "COM.A.B:\n  organization: Third\nother.app: {}\n");
    ASSERT_EQ(rules->warnings.size(), 2u);
    EXPECT_EQ(rules->warnings[0].ruleKey, "com.a.b");
    EXPECT_EQ(rules->warnings[1].ruleKey, "COM.A.B");
    EXPECT_NE(rules->warnings[1].reason.find("repeats com.a.b"), std::string::npos);
    EXPECT_EQ(rules->extraInfo("com.a.b").organization->origin(), "Third");
    EXPECT_TRUE(load("com.a.b: {}\ncom.a.c: {}\n")->warnings.empty());
}

TEST(RuleManager, ACheckNamesTheEntriesWhoseExpressionsRunAway) {
    const char* document = R"(
"*(x+)+y":
  caches:
    cache: ['Lib/Caches/^(a+)+$', 'Lib/Caches/^(?<id>.+)\.cache$', 'Lib/^(\w+\s?)+$/x']
)";
    auto probed = RuleManager::fromDocument(document, roots, RuleManager::ExpressionProbe::probe).manager;
    ASSERT_TRUE(probed);
    std::vector<std::string> flagged;
    for (const auto& warning : probed->warnings)
        flagged.push_back(warning.entry.empty() ? warning.ruleKey : warning.entry);
    std::sort(flagged.begin(), flagged.end());
    EXPECT_EQ(flagged, (std::vector<std::string>{"*(x+)+y", "Lib/Caches/^(a+)+$", "Lib/^(\\w+\\s?)+$/x"}));
    // A load for a scan does not spend the time.
    EXPECT_TRUE(load(document)->warnings.empty());
}

TEST(RuleManager, ADamagedEncryptedDocumentIsAnError) {
    TempTree folder;
    std::string document;
    for (int rule = 0; rule < 8; ++rule)
        document += "com.example.app" + std::to_string(rule) + ":\n  caches:\n    cache: [Lib/Caches/x]\n";
    auto cipher = AESHelper::shared().encrypt(document).value();
    auto intact = folder.file("intact.txt"), damaged = folder.file("damaged.txt");
    std::ofstream(intact, std::ios::binary) << cipher;
    cipher[20] = static_cast<char>(cipher[20] ^ 0x01);
    std::ofstream(damaged, std::ios::binary) << cipher;
    ASSERT_TRUE(RuleManager::fromEncryptedFile(intact, roots).manager);
    auto loaded = RuleManager::fromEncryptedFile(damaged, roots);
    EXPECT_FALSE(loaded.manager);
    EXPECT_NE(loaded.error.find(damaged), std::string::npos);
    EXPECT_FALSE(RuleManager::fromEncryptedFile(folder.at("missing.txt"), roots).manager);
}

TEST(ShippedRules, EveryEntryOfTheShippedDocumentParsesWithoutWarning) {
    const auto& loaded = RuleManager::sharedLoad();
    ASSERT_TRUE(loaded.manager) << loaded.error;
    EXPECT_EQ(&RuleManager::shared(), loaded.manager.get());
    for (const auto& dropped : loaded.manager->dropped)
        ADD_FAILURE() << dropped.ruleKey << " " << dropped.section << " " << dropped.entry << ": "
                      << dropped.reason;
    for (const auto& warning : loaded.manager->warnings)
        ADD_FAILURE() << warning.ruleKey << " " << warning.entry << ": " << warning.reason;
    std::size_t applications =
        std::count_if(loaded.manager->rules.begin(), loaded.manager->rules.end(),
                      [](const auto& rule) { return rule.first.type() == RuleID::Type::bundleID; });
    EXPECT_GE(applications, 60u);
    for (auto special : {RuleID::base(), RuleID::black(), RuleID::system()})
        EXPECT_EQ(loaded.manager->rules.count(special), 1u);
}

TEST(ShippedRules, NoExpressionOfTheShippedDocumentRunsAway) {
    auto cipher = readFileContents(SystemPaths::shared().resourcesDirectory() + "/ruleInfo.txt");
    ASSERT_TRUE(cipher);
    auto text = AESHelper::shared().decrypt(*cipher);
    ASSERT_TRUE(text);
    auto probed = RuleManager::fromDocument(*text, roots, RuleManager::ExpressionProbe::probe);
    ASSERT_TRUE(probed.manager) << probed.error;
    for (const auto& warning : probed.manager->warnings)
        ADD_FAILURE() << warning.ruleKey << " " << warning.entry << ": " << warning.reason;
}

} // namespace
