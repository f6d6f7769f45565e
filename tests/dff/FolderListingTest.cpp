#include "dff/FolderListing.h"
#include "dff/FileReader.h"

#include "tests/dff/TreeFixtures.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <map>

using namespace dff;
using core::testing::TempTree;

namespace {

std::map<std::string, EntryKind> listed(const std::string& folder) {
    std::map<std::string, EntryKind> entries;
    FolderListing listing(folder);
    const char* name;
    EntryKind kind;
    while (listing.next(name, kind))
        entries[name] = kind;
    return entries;
}

TEST(FolderListing, KindsComeFromTheStatusWhereTheListingLeavesThemOut) {
    TempTree tree;
    tree.file("f", 10);
    tree.folder("d");
    ASSERT_EQ(::symlink("f", tree.at("l").c_str()), 0);
    dff::testing::Socket socket(tree.at("s"));
    std::map<std::string, EntryKind> expected = {
        {"f", EntryKind::file}, {"d", EntryKind::folder}, {"l", EntryKind::link}, {"s", EntryKind::other}};
    EXPECT_EQ(listed(tree.path()), expected);
    FolderListing::KindsUnknown unknown;
    EXPECT_EQ(listed(tree.path()), expected);
}

TEST(FolderListing, ALinkIsNotListedAsTheFolderItNames) {
    TempTree tree;
    tree.file("real/f", 10);
    ASSERT_EQ(::symlink(tree.at("real").c_str(), tree.at("link").c_str()), 0);
    FolderListing listing(tree.at("link"));
    EXPECT_NE(listing.error(), 0);
    EXPECT_EQ(FolderListing(tree.at("nowhere")).error(), ENOENT);
}

TEST(FolderListing, PathsLongerThanTheLimitAreReadLikeShortOnes) {
    TempTree tree;
    dff::testing::DeepFolder deep(tree.path(), PATH_MAX / 200 + 2);
    Path file = deep.write("f", std::string(5000, 'z'));
    Path link = deep.link("l", "f");
    ASSERT_GT(file.length(), static_cast<std::size_t>(PATH_MAX));

    FileStatus status;
    ASSERT_EQ(statusOf(file, status), 0);
    EXPECT_EQ(status.kind, EntryKind::file);
    EXPECT_EQ(status.size, 5000);
    ASSERT_EQ(statusOf(link, status), 0);
    EXPECT_EQ(status.kind, EntryKind::link);
    ASSERT_EQ(statusOf(link, status, true), 0);
    EXPECT_EQ(status.kind, EntryKind::file);
    EXPECT_EQ(listed(deep.path()).size(), 2u);

    char text[16];
    EXPECT_EQ(readLink(link, text, sizeof text), 1);
    EXPECT_EQ(text[0], 'f');
    std::string read;
    FileReader reader(&file, 5000);
    while (!reader.read([&](const char* data, long long length) { read.append(data, length); })) {
    }
    EXPECT_EQ(read, std::string(5000, 'z'));
}

TEST(LinkText, OneDigestForTheScanAndThePackages) {
    TempTree tree;
    ASSERT_EQ(::symlink("target", tree.at("l").c_str()), 0);
    Symlink link(tree.at("l"), 6, nullptr);
    HashValue scanned;
    ASSERT_TRUE(hashSymlink(link, scanned));
    MD5 fed;
    ASSERT_TRUE(digestLinkText(link.path(), 6, fed));
    HashValue digested;
    fed.hashValue(digested);
    EXPECT_EQ(scanned, digested);
    // A text of another length than the walk saw is no text to compare.
    EXPECT_FALSE(digestLinkText(link.path(), 5, fed));
    EXPECT_FALSE(digestLinkText(tree.at("nowhere"), 6, fed));
}

} // namespace
