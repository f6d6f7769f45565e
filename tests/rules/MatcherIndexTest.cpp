#include "Core/rules/AppFileRule.h"
#include "Core/rules/AppGroupManager.h"
#include "Core/rules/PublicSuffixList.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace core;
using core::testing::TempTree;

namespace {

const RuleRoots roots{"/mac", "/Users/ann", "/Users/ann/Library", "/tmp"};

std::shared_ptr<const RuleManager> load(const std::string& yaml) {
    auto loaded = RuleManager::fromDocument(yaml, roots);
    EXPECT_TRUE(loaded.manager) << loaded.error;
    return loaded.manager;
}

const std::vector<MatcherNode>& level(const AppFileRule& index, std::initializer_list<const char*> path) {
    const auto* nodes = &index.roots().at("/Users/ann/Library");
    for (const char* name : path) {
        const std::vector<MatcherNode>* next = nullptr;
        for (const auto& node : *nodes)
            if (node.directory() && node.directory()->matcher == Matcher::string(name))
                next = &node.directory()->children;
        EXPECT_TRUE(next) << name;
        if (!next)
            break;
        nodes = next;
    }
    return *nodes;
}

std::vector<std::string> fileNames(const std::vector<MatcherNode>& nodes) {
    std::vector<std::string> names;
    for (const auto& node : nodes)
        if (const auto* file = node.file())
            names.push_back(file->matcher.type() == Matcher::Type::string ? file->matcher.name().origin()
                            : file->matcher.type() == Matcher::Type::any  ? "*"
                                                                          : "?");
    return names;
}

TEST(AppFileRule, AWholeLevelClaimOfHigherPriorityShutsOutLaterNames) {
    auto rules = load("a:\n  logs:\n    log: [Lib/Logs/*]\nb:\n  logs:\n    log: ['10:Lib/Logs/Example']\n");
    AppFileRule index(*rules, true);
    EXPECT_EQ(fileNames(level(index, {"Logs"})), (std::vector<std::string>{"*"}));

    auto swapped =
        load("a:\n  logs:\n    log: ['10:Lib/Logs/*']\nb:\n  logs:\n    log: [Lib/Logs/Example]\n");
    AppFileRule both(*swapped, true);
    EXPECT_EQ(fileNames(level(both, {"Logs"})), (std::vector<std::string>{"Example", "*"}));
}

TEST(AppFileRule, DeeperEntriesWinOverAWholeFolderClaimOfEqualPriority) {
    auto rules = load("a:\n  caches:\n    cache: [Lib/Caches/Example, Lib/Caches/Example/x]\n");
    AppFileRule index(*rules, true);
    EXPECT_TRUE(fileNames(level(index, {"Caches"})).empty());
    EXPECT_EQ(fileNames(level(index, {"Caches", "Example"})), (std::vector<std::string>{"x"}));

    auto claimed = load("a:\n  caches:\n    cache: [Lib/Caches/Example, '10:Lib/Caches/Example/x']\n");
    AppFileRule whole(*claimed, true);
    const auto& caches = level(whole, {"Caches"});
    EXPECT_EQ(fileNames(caches), (std::vector<std::string>{"Example"}));
    EXPECT_EQ(caches.size(), 1u);
}

TEST(AppFileRule, EqualClaimsOfTwoRulesStandSideBySideInTheirOwnSets) {
    auto rules = load("a.app:\n  caches:\n    cache: [Lib/Caches/Shared]\nb.app:\n  caches:\n    cache: "
                      "[Lib/Caches/Shared]\n");
    AppFileRule index(*rules, true);
    const auto& caches = level(index, {"Caches"});
    ASSERT_EQ(caches.size(), 2u);
    auto a = index.matcherIDs("a.app"), b = index.matcherIDs("B.APP");
    EXPECT_TRUE(a.count(caches[0].id()) != b.count(caches[0].id()));
    EXPECT_TRUE(a.count(caches[1].id()) != b.count(caches[1].id()));
    // Both hold the directory node on the way.
    auto caches_id = index.roots().at("/Users/ann/Library")[0].id();
    EXPECT_TRUE(a.count(caches_id) && b.count(caches_id));
}

TEST(AppFileRule, IdSetsOfRulesBaseAndExpressions) {
    auto rules = load(R"(
"*":
  caches:
    cache: [Lib/Caches/**]
'*com\.example\..*':
  logs:
    log: [Lib/Logs/Example]
only.ids:
  ids: [x]
support.only:
  support:
    support: [Lib/Application Support/Thing]
)");
    AppFileRule full(*rules, true), cacheAndLog(*rules, false);
    auto base = full.matcherIDs("org.unknown");
    EXPECT_EQ(base.size(), 2u);
    EXPECT_EQ(full.matcherIDs("only.ids"), base);
    EXPECT_EQ(full.matcherIDs("com.example.tool").size(), 4u);
    EXPECT_EQ(full.matcherIDs("support.only").size(), 4u);
    EXPECT_EQ(cacheAndLog.matcherIDs("support.only"), cacheAndLog.matcherIDs("org.unknown"));
    EXPECT_TRUE(AppFileRule(*load("a:\n  ids: [b]\n"), true).matcherIDs("a").empty());
}

TEST(AppFileRule, NodeIdsAreUniqueAcrossInstances) {
    auto rules = load("a:\n  caches:\n    cache: [Lib/Caches/A]\n");
    AppFileRule first(*rules, true), second(*rules, true);
    EXPECT_NE(first.matcherIDs("a"), second.matcherIDs("a"));
}

TEST(PublicSuffixList, RegistrableLabelOfBundleIdentifiers) {
    PublicSuffixList list("// comment\ncom\nuk\nco.uk\n*.ck\n!www.ck\n\n");
    EXPECT_EQ(list.organization("com.example.app"), "example");
    EXPECT_EQ(list.organization("uk.co.example.app"), "example");
    EXPECT_EQ(list.organization("com.example"), "example");
    EXPECT_FALSE(list.organization("com").has_value());
    EXPECT_FALSE(list.organization("uk.co").has_value());
    EXPECT_FALSE(list.organization("xx.example").has_value());
    EXPECT_EQ(list.organization("ck.shop.example"), "example");
    EXPECT_EQ(list.organization("ck.www.app"), "www");
}

TEST(PublicSuffixList, LabelsCompareWithoutRegardToCase) {
    PublicSuffixList list("com\nuk\nco.uk\n*.ck\n!www.ck\n");
    EXPECT_EQ(list.organization("COM.GOOGLE.CHROME"), "GOOGLE");
    EXPECT_EQ(list.organization("Uk.Co.Example.App"), "Example");
    EXPECT_FALSE(list.organization("UK.CO").has_value());
    EXPECT_EQ(list.organization("CK.WWW.app"), "WWW");
    EXPECT_EQ(list.organization("CK.Shop.Example"), "Example");
}

TEST(PublicSuffixList, AMissingOrEmptyListIsAnError) {
    TempTree folder;
    auto missing = PublicSuffixList::fromFile(folder.at("public_suffix_list.dat"));
    EXPECT_FALSE(missing.list);
    EXPECT_NE(missing.error.find("public_suffix_list.dat"), std::string::npos);
    auto empty = PublicSuffixList::fromFile(folder.file("empty.dat"));
    EXPECT_FALSE(empty.list);
    EXPECT_FALSE(empty.error.empty());
    std::ofstream(folder.at("list.dat")) << "com\n";
    auto loaded = PublicSuffixList::fromFile(folder.at("list.dat"));
    ASSERT_TRUE(loaded.list) << loaded.error;
    EXPECT_EQ(loaded.list->organization("com.example.app"), "example");
}

TEST(PublicSuffixList, ThePublishedListAsShipped) {
    ASSERT_TRUE(PublicSuffixList::sharedLoad().list) << PublicSuffixList::sharedLoad().error;
    const auto& list = PublicSuffixList::shared();
    EXPECT_GT(list.ruleCount(), 5000u);
    EXPECT_EQ(list.organization("com.example.app"), "example");
    EXPECT_EQ(list.organization("uk.co.example.app"), "example");
    EXPECT_EQ(list.organization("jp.tokyo.example.app"), "example");
}

TEST(AppGroupManager, VendorsByListThenDomainAndGroupsByList) {
    auto loaded = AppGroupManager::fromDocuments(R"(
one: {name: Adobe, domain: adobe.com, ids: []}
two: {name: Google, domain: google.com, ids: [com.adobe.ListedByGoogle]}
three: {name: Unknown Vendor, ids: [x.y.z]}
)",
                                                 R"(
a: {name: Microsoft Office, ids: [COM.MICROSOFT.WORD]}
b: {name: My Tools, ids: [org.tools.one]}
c: {name: No Ids}
)");
    ASSERT_TRUE(loaded.manager) << loaded.error;
    const auto& groups = *loaded.manager;
    EXPECT_EQ(groups.getVender("COM.ADOBE.listedbygoogle"), AppVender::google);
    EXPECT_EQ(groups.getVender("com.adobe.Photoshop"), AppVender::adobe);
    EXPECT_EQ(groups.getVender("com.example.other"), AppVender::other);
    EXPECT_EQ(groups.getVender("x.y.z"), AppVender::other);
    EXPECT_EQ(groups.getGroup("com.microsoft.word")->groupCase(), AppGroup::Case::microsoftOffice);
    EXPECT_EQ(groups.getGroup("org.tools.one")->groupName(), "My Tools");
    EXPECT_FALSE(groups.getGroup("org.none").has_value());
    EXPECT_FALSE(AppGroupManager::fromDocuments("- not a map", "").manager);
}

TEST(AppGroupManager, AMissingDocumentIsAnError) {
    TempTree folder;
    std::ofstream(folder.at("app_vender.yaml")) << "one: {name: Adobe, domain: adobe.com, ids: []}\n";
    auto missingGroups = AppGroupManager::fromFolder(folder.path());
    EXPECT_FALSE(missingGroups.manager);
    EXPECT_NE(missingGroups.error.find("app_group.yaml"), std::string::npos);
    std::ofstream(folder.at("app_group.yaml")) << "a: {name: Box, ids: [Com.Box.Drive]}\n";
    auto loaded = AppGroupManager::fromFolder(folder.path());
    ASSERT_TRUE(loaded.manager) << loaded.error;
    EXPECT_EQ(loaded.manager->getVender("COM.ADOBE.PHOTOSHOP"), AppVender::adobe);
    EXPECT_EQ(loaded.manager->getGroup("COM.BOX.DRIVE")->groupCase(), AppGroup::Case::box);
}

} // namespace
