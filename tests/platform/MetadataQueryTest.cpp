#include "Core/platform/MetadataQuery.h"
#include "Core/platform/UniformTypes.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sys/xattr.h>
#include <unistd.h>

using namespace core;
using core::testing::TempTree;

namespace {

bool matches(const std::string& text, const std::map<std::string, MetadataValue>& attributes) {
    auto predicate = MetadataPredicate::parse(text);
    EXPECT_TRUE(predicate.has_value()) << text;
    return predicate && predicate->evaluate([&](const std::string& name) -> std::optional<MetadataValue> {
        auto found = attributes.find(name);
        return found == attributes.end() ? std::nullopt : std::optional<MetadataValue>(found->second);
    });
}

TEST(MetadataPredicate, ComparesNumbersAndStrings) {
    std::map<std::string, MetadataValue> item = {{"kMDItemFSSize", std::int64_t{2048}},
                                                 {"kMDItemContentType", std::string("public.png")}};
    EXPECT_TRUE(matches("kMDItemFSSize >= 2048", item));
    EXPECT_FALSE(matches("kMDItemFSSize >= 2049", item));
    EXPECT_TRUE(matches("kMDItemFSSize < 4096 && kMDItemFSSize > 1", item));
    EXPECT_TRUE(matches("kMDItemContentType == 'public.png'", item));
    EXPECT_TRUE(matches("kMDItemContentType = \"public.png\"", item));
    EXPECT_FALSE(matches("kMDItemContentType != 'public.png'", item));
    EXPECT_FALSE(matches("kMDItemContentType == 'PUBLIC.PNG'", item));
    EXPECT_TRUE(matches("kMDItemContentType == 'PUBLIC.PNG'c", item));
    EXPECT_TRUE(matches("kMDItemContentType == 'public.*'", item));
    // A number never equals a string.
    EXPECT_FALSE(matches("kMDItemFSSize == '2048'", item));
}

TEST(MetadataPredicate, JoinsWithPrecedenceAndParentheses) {
    std::map<std::string, MetadataValue> item = {{"a", std::int64_t{1}}, {"b", std::int64_t{0}}};
    EXPECT_TRUE(matches("a == 1 || b == 1 && a == 0", item));
    EXPECT_FALSE(matches("(a == 1 || b == 1) && a == 0", item));
    EXPECT_TRUE(matches("((a == 1))", item));
}

TEST(MetadataPredicate, MissingAttributeIsFalseWhateverTheComparison) {
    std::map<std::string, MetadataValue> item;
    EXPECT_FALSE(matches("kMDItemIsScreenCapture == 1", item));
    EXPECT_FALSE(matches("kMDItemComment != 'x'", item));
    EXPECT_TRUE(
        matches("kMDItemIsScreenCapture == 1 || kMDItemComment == 'Screenshot' || kMDItemImageIsScreenshot "
                "== 1 || kMDItemIsScreenRecording = 1",
                {{"kMDItemIsScreenRecording", std::int64_t{1}}}));
}

TEST(MetadataPredicate, MultiValuedAttributeMatchesAnyAndDiffersFromAll) {
    std::map<std::string, MetadataValue> package = {
        {"kMDItemContentTypeTree", std::vector<std::string>{"com.apple.package", "public.directory"}}};
    std::map<std::string, MetadataValue> folder = {
        {"kMDItemContentTypeTree", std::vector<std::string>{"public.folder", "public.directory"}}};
    const std::string query =
        "(kMDItemContentTypeTree == 'public.directory' && kMDItemContentTypeTree != 'public.folder')";
    EXPECT_TRUE(matches(query, package));
    EXPECT_FALSE(matches(query, folder));
}

TEST(MetadataPredicate, RejectsTextItDoesNotUnderstand) {
    for (const auto* text : {"", "kMDItemFSSize >=", "kMDItemFSSize >= 1 &&", "(a == 1", "a == 'open",
                             "a ~ 1", "1 == a", "a == 1 b == 2", "a == 1.5"})
        EXPECT_FALSE(MetadataPredicate::parse(text).has_value()) << text;
}

TEST(UniformTypes, FilesConformThroughTheirFamily) {
    EXPECT_EQ(typeForFileExtension("PNG"), "public.png");
    EXPECT_TRUE(conformsTo("public.png", "public.image"));
    EXPECT_TRUE(conformsTo("public.png", "public.data"));
    EXPECT_TRUE(conformsTo("com.apple.quicktime-movie", "public.movie"));
    EXPECT_EQ(typeForFileExtension("dmg"), "com.apple.disk-image-udif");
    EXPECT_EQ(typeForFileExtension("unheard-of"), "public.data");
    EXPECT_EQ(conformanceTree("public.folder"),
              (std::vector<std::string>{"public.folder", "public.directory", "public.item"}));
}

TEST(UniformTypes, PackagesAreDirectoriesButNotFolders) {
    for (const auto* extension : {"app", "photoslibrary", "pkg", "rtfd", "Framework"}) {
        auto type = typeForPackageExtension(extension);
        EXPECT_TRUE(isPackageExtension(extension)) << extension;
        EXPECT_TRUE(conformsTo(type, "com.apple.package")) << type;
        EXPECT_TRUE(conformsTo(type, "public.directory")) << type;
        EXPECT_FALSE(conformsTo(type, "public.folder")) << type;
    }
    EXPECT_EQ(typeForPackageExtension("app"), "com.apple.application-bundle");
    EXPECT_FALSE(isPackageExtension("txt"));
}

class MetadataQueryTest : public ::testing::Test {
protected:
    // Runs the query to its end on a query queue of its own and answers the paths it found.
    std::vector<std::string> gather(const std::string& text, std::vector<std::string> scopes,
                                    std::vector<MetadataSortDescriptor> sort = {}) {
        auto query = MetadataQuery::make();
        query->setPredicate(MetadataPredicate::parse(text));
        query->setSearchScopes(std::move(scopes));
        query->setSortDescriptors(std::move(sort));
        query->setOperationQueue(OperationQueue::make("test.query", 1));
        DispatchSemaphore finished(0);
        query->setDidFinishGathering([&] { finished.signal(); });
        EXPECT_TRUE(query->startQuery());
        EXPECT_TRUE(finished.wait(std::chrono::seconds(20)));
        lastResults = query->results();
        std::vector<std::string> paths;
        for (const auto& item : lastResults)
            paths.push_back(item.path());
        return paths;
    }

    TempTree tree;
    std::vector<MetadataItem> lastResults;
};

TEST_F(MetadataQueryTest, FindsMatchingFilesInEveryFolderBelowTheScopes) {
    tree.file("a/one.dmg", 10);
    tree.file("a/b/c/two.DMG", 20);
    tree.file("a/not-an-image.txt", 30);
    tree.file("elsewhere/three.dmg", 40);
    EXPECT_EQ(gather("kMDItemContentType == 'com.apple.disk-image-udif'", {tree.at("a")}),
              (std::vector<std::string>{tree.at("a/b/c/two.DMG"), tree.at("a/one.dmg")}));
}

TEST_F(MetadataQueryTest, PackagesAreOneItemWithTheSizeOfTheirContents) {
    tree.file("apps/Tool.app/Contents/Info.plist", 100);
    tree.file("apps/Tool.app/Contents/MacOS/Tool", 5000);
    tree.file("apps/Plain/Contents/Info.plist", 50);
    tree.file("apps/Plain/Contents/Resources/data.bin", 950);
    auto found = gather("kMDItemFSSize >= 1", {tree.at("apps")});
    EXPECT_EQ(found, (std::vector<std::string>{tree.at("apps/Plain"), tree.at("apps/Tool.app")}));
    EXPECT_EQ(lastResults[0].integerValue("kMDItemFSSize"), 1000);
    EXPECT_EQ(lastResults[1].integerValue("kMDItemFSSize"), 5100);
    // Contents, Info.plist, MacOS, Tool.
    EXPECT_EQ(lastResults[1].integerValue("kMDItemFSNodeCount"), 4);
    auto type = std::get<std::string>(*lastResults[1].valueForAttribute("kMDItemContentType"));
    EXPECT_EQ(type, "com.apple.application-bundle");
}

TEST_F(MetadataQueryTest, DoesNotFollowLinks) {
    tree.file("outside/big.dmg", 10);
    tree.folder("scope");
    ::symlink(tree.at("outside").c_str(), tree.at("scope/link").c_str());
    ::symlink(tree.at("outside/big.dmg").c_str(), tree.at("scope/file.dmg").c_str());
    EXPECT_TRUE(gather("kMDItemFSSize >= 0", {tree.at("scope")}).empty());
}

TEST_F(MetadataQueryTest, SortsByTheDescriptorsKeepingPathOrderAmongEquals) {
    tree.file("s/b", 300);
    tree.file("s/a", 300);
    tree.file("s/c", 900);
    tree.file("s/d", 1);
    auto found = gather("kMDItemFSSize >= 1", {tree.at("s")}, {{"kMDItemFSSize", false}});
    EXPECT_EQ(found,
              (std::vector<std::string>{tree.at("s/c"), tree.at("s/a"), tree.at("s/b"), tree.at("s/d")}));
}

TEST_F(MetadataQueryTest, FoldersAreItemsWithTheirEntryCount) {
    tree.file("s/folder/x", 1);
    tree.file("s/folder/y", 1);
    auto found = gather("kMDItemContentTypeTree == 'public.folder'", {tree.at("s")});
    EXPECT_EQ(found, (std::vector<std::string>{tree.at("s/folder")}));
    EXPECT_EQ(lastResults[0].integerValue("kMDItemFSNodeCount"), 2);
    EXPECT_FALSE(lastResults[0].integerValue("kMDItemFSSize").has_value());
}

TEST_F(MetadataQueryTest, ScreenCapturesByNameOrMark) {
    tree.file("s/Screenshot 2024-01-01 at 10.00.00.png", 10);
    tree.file("s/Screen Recording.mov", 10);
    tree.file("s/Screen Shot old.mov", 10);
    tree.file("s/Screenshot notes.txt", 10);
    auto marked = tree.file("s/capture.bin", 10);
    ::setxattr(marked.c_str(), "user.com.apple.metadata:kMDItemIsScreenCapture", "1", 1, 0);
    auto commented = tree.file("s/commented.jpg", 10);
    ::setxattr(commented.c_str(), "user.xdg.comment", "Screenshot", 10, 0);
    auto found =
        gather("kMDItemIsScreenCapture == 1 || kMDItemComment == 'Screenshot' || kMDItemImageIsScreenshot "
               "== 1 || kMDItemIsScreenRecording = 1",
               {tree.at("s")});
    EXPECT_EQ(found, (std::vector<std::string>{tree.at("s/Screen Shot old.mov"),
                                               tree.at("s/Screenshot 2024-01-01 at 10.00.00.png"), marked,
                                               commented}));
    auto recording = std::find_if(lastResults.begin(), lastResults.end(), [](const auto& item) {
        return item.path().find(".mov") != std::string::npos;
    });
    EXPECT_EQ(recording->integerValue("kMDItemIsScreenRecording"), 1);
}

TEST_F(MetadataQueryTest, UnreadableQueryDoesNotStart) {
    auto query = MetadataQuery::make();
    query->setPredicate(MetadataPredicate::parse("kMDItemFSSize >>= 1"));
    EXPECT_FALSE(query->startQuery());
}

TEST_F(MetadataQueryTest, StoppedQuerySendsNoFinishAndMayStartAgain) {
    for (int i = 0; i < 200; ++i)
        tree.file("s/" + std::to_string(i) + "/f", 10);
    auto query = MetadataQuery::make();
    query->setPredicate(MetadataPredicate::parse("kMDItemFSSize >= 0"));
    query->setSearchScopes({tree.at("s")});
    query->setOperationQueue(OperationQueue::make("test.stop", 1));
    std::atomic<int> finishes{0};
    query->setDidFinishGathering([&] { ++finishes; });
    ASSERT_TRUE(query->startQuery());
    query->stopQuery();
    EXPECT_FALSE(query->isGathering());
    DispatchQueue::runFor(std::chrono::milliseconds(200));
    EXPECT_EQ(finishes, 0);
    ASSERT_TRUE(query->startQuery());
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return finishes == 1; }, std::chrono::seconds(20)));
    EXPECT_EQ(query->resultCount(), 200u);
}

TEST_F(MetadataQueryTest, SendsUpdatesWhileGatheringNoMoreOftenThanTheInterval) {
    for (int i = 0; i < 300; ++i)
        tree.file("s/" + std::to_string(i) + "/f", 10);
    auto query = MetadataQuery::make();
    query->setPredicate(MetadataPredicate::parse("kMDItemFSSize >= 0"));
    query->setSearchScopes({tree.at("s")});
    query->setNotificationBatchingInterval(Seconds(3600));
    std::atomic<int> updates{0}, finishes{0};
    query->setDidUpdate([&] { ++updates; });
    query->setDidFinishGathering([&] { ++finishes; });
    ASSERT_TRUE(query->startQuery());
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return finishes == 1; }, std::chrono::seconds(20)));
    EXPECT_EQ(updates, 0);

    query->setNotificationBatchingInterval(Seconds(0));
    ASSERT_TRUE(query->startQuery());
    ASSERT_TRUE(DispatchQueue::runUntil([&] { return finishes == 2; }, std::chrono::seconds(20)));
    EXPECT_GT(updates, 0);
}

} // namespace
