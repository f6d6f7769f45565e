#include "Core/foundation/AppFile.h"
#include "Core/foundation/DictionaryExtensions.h"
#include "Core/foundation/MacApp.h"

#include <gtest/gtest.h>

#include <unordered_map>
#include <unordered_set>

using namespace core;

namespace {

TEST(CaseInsensitiveString, SpellingsOfOneTextAreOneKey) {
    CaseInsensitiveString upper("Com.Apple.Mail"), lower("com.apple.mail");
    EXPECT_EQ(upper, lower);
    EXPECT_EQ(std::hash<CaseInsensitiveString>()(upper), std::hash<CaseInsensitiveString>()(lower));
    std::unordered_map<CaseInsensitiveString, int> table{{upper, 1}};
    EXPECT_EQ(table.count(lower), 1u);
    EXPECT_EQ(upper.description(), "Com.Apple.Mail");
    EXPECT_EQ(lower.description(), "com.apple.mail");
    EXPECT_EQ(upper.lowercaseString(), "com.apple.mail");
}

TEST(CaseInsensitiveString, OrdersIgnoringCase) {
    EXPECT_LT(CaseInsensitiveString("apple"), CaseInsensitiveString("Banana"));
    EXPECT_LT(CaseInsensitiveString("App"), CaseInsensitiveString("apple"));
    EXPECT_FALSE(CaseInsensitiveString("ZEBRA") < CaseInsensitiveString("zebra"));
    EXPECT_NE(CaseInsensitiveString("a"), CaseInsensitiveString("b"));
}

TEST(CaseInsensitiveString, FoldsLettersBeyondAscii) {
    CaseInsensitiveString a("ÄRGER.app"), b("ärger.APP");
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::hash<CaseInsensitiveString>()(a), std::hash<CaseInsensitiveString>()(b));
    EXPECT_EQ(a.lowercaseString(), "ärger.app");
    EXPECT_NE(CaseInsensitiveString("ärger"), CaseInsensitiveString("arger"));
}

TEST(CaseInsensitiveString, AbsentInAbsentOut) {
    EXPECT_FALSE(CaseInsensitiveString::from(std::nullopt).has_value());
    EXPECT_EQ(CaseInsensitiveString::from(std::string("X"))->origin(), "X");
}

TEST(AppFileKind, KeysMatchExactly) {
    EXPECT_EQ(AppFileKind::fromKey("log").tag(), AppFileKind::Tag::log);
    EXPECT_EQ(AppFileKind::fromKey("preferencePanes").tag(), AppFileKind::Tag::preferencePanes);
    EXPECT_EQ(AppFileKind::fromKey("Log"), AppFileKind::other("Log"));
    EXPECT_EQ(AppFileKind::fromKey("Log").key(), "Log");
    EXPECT_NE(AppFileKind::other("x"), AppFileKind::other("X"));
    EXPECT_NE(std::hash<AppFileKind>()(AppFileKind::other("x")),
              std::hash<AppFileKind>()(AppFileKind::other("X")));
    EXPECT_EQ(AppFileKind(AppFileKind::Tag::cookie).key(), "cookie");
}

TEST(File, IdentityIsTheURL) {
    File small{URL::fileURL("/a/b"), 1}, large{URL::fileURL("/a/b/"), 100};
    EXPECT_EQ(small, large);
    std::unordered_set<File> files{small, large, File{URL::fileURL("/a/c"), 1}};
    EXPECT_EQ(files.size(), 2u);
}

TEST(File, ToAppFileOwnedByTheEmptyBundleIdentifier) {
    auto appFile = File{URL::fileURL("/x"), 7}.toAppFile(AppFileKind::Tag::cache);
    EXPECT_EQ(appFile.size, 7);
    EXPECT_EQ(appFile.owner, App::macApp(MacAppID::bundleID("")));
    EXPECT_EQ(appFile.copyWith(AppFileKind::Tag::log).kind, AppFileKind(AppFileKind::Tag::log));
    EXPECT_EQ(appFile.copyWith(AppFileKind::Tag::log).size, 7);
}

TEST(AppFile, SizeDefaultsToZero) {
    AppFile file(URL::fileURL("/x"), AppFileKind::Tag::log, App::app("id"));
    EXPECT_EQ(file.size, 0);
    EXPECT_EQ(file.owner.id(), CaseInsensitiveString("ID"));
}

TEST(URL, ComponentsAndExtension) {
    auto url = URL::fileURL("/Users/ann/Library/Caches/com.example.app/");
    EXPECT_EQ(url.path(), "/Users/ann/Library/Caches/com.example.app");
    EXPECT_EQ(url.lastPathComponent(), "com.example.app");
    EXPECT_EQ(url.pathExtension(), "app");
    EXPECT_EQ(url.deletingLastPathComponent().path(), "/Users/ann/Library/Caches");
    EXPECT_EQ(URL::fileURL("/").appendingPathComponent("tmp").path(), "/tmp");
    EXPECT_EQ(URL::fileURL("/tmp").deletingLastPathComponent().path(), "/");
    EXPECT_EQ(URL::fileURL("/a/.hidden").pathExtension(), "");
}

TEST(MacApp, EachHasAQueueOfItsOwnName) {
    auto first = MacApp::make("com.example.app", std::nullopt);
    auto second = MacApp::make("com.example.app", std::nullopt);
    EXPECT_NE(first->queueLabel(), second->queueLabel());
    EXPECT_EQ(first->queueLabel().rfind("APPListItemNode.SerialQueue.", 0), 0u);
}

TEST(MacApp, AReadAfterAWriteOnOneThreadSeesTheWrite) {
    auto app = MacApp::make("com.example.app", CaseInsensitiveString("example"));
    for (int round = 0; round < 50; ++round) {
        auto ids = app->bundleIDs();
        ids.insert(CaseInsensitiveString("com.example.helper" + std::to_string(round)));
        app->setBundleIDs(ids);
        ASSERT_EQ(app->bundleIDs().size(), static_cast<std::size_t>(round + 1));
    }
    EXPECT_EQ(app->bundleIDs().count(CaseInsensitiveString("COM.EXAMPLE.HELPER7")), 1u);
}

TEST(SizeString, ReadableDecimalUnits) {
    EXPECT_EQ(sizeString(0), "0 bytes");
    EXPECT_EQ(sizeString(1), "1 byte");
    EXPECT_EQ(sizeString(999), "999 bytes");
    EXPECT_EQ(sizeString(1000), "1.0 kB");
    EXPECT_EQ(sizeString(1500000), "1.5 MB");
    EXPECT_EQ(sizeString(999999), "1.0 MB");
    EXPECT_EQ(sizeString(2345678901), "2.3 GB");
    EXPECT_EQ(File({URL::fileURL("/x"), 12300}).sizeString(), "12.3 kB");
}

TEST(DictionaryExtensions, UpdateValueCreatesOnlyWhenMissing) {
    std::unordered_map<std::string, std::vector<int>> table{{"a", {1}}};
    int defaults = 0;
    auto makeDefault = [&] {
        ++defaults;
        return std::vector<int>{};
    };
    updateValue(table, std::string("a"), makeDefault, [](auto& values) { values.push_back(2); });
    updateValue(table, std::string("b"), makeDefault, [](auto& values) { values.push_back(3); });
    EXPECT_EQ(defaults, 1);
    EXPECT_EQ(table["a"], (std::vector<int>{1, 2}));
    EXPECT_EQ(table["b"], (std::vector<int>{3}));
}

TEST(DictionaryExtensions, MapKeysKeepsValuesAndPropagatesErrors) {
    std::unordered_map<std::string, int> table{{"log", 1}, {"cache", 2}};
    auto kinds =
        mapKeys<AppFileKind>(table, [](const std::string& key) { return AppFileKind::fromKey(key); });
    EXPECT_EQ(kinds.at(AppFileKind::Tag::log), 1);
    EXPECT_EQ(kinds.at(AppFileKind::Tag::cache), 2);
    auto collapsed = mapKeys<int>(table, [](const std::string&) { return 0; });
    EXPECT_EQ(collapsed.size(), 1u);
    EXPECT_THROW(mapKeys<int>(table, [](const std::string&) -> int { throw std::runtime_error("bad key"); }),
                 std::runtime_error);
}

} // namespace
