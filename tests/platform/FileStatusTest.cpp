#include "Core/platform/FileStatus.h"
#include "Core/platform/ErrorNames.h"
#include "Core/platform/FolderReader.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <map>
#include <sys/stat.h>
#include <unistd.h>

using namespace core;
using core::testing::allocatedBytes;
using core::testing::TempTree;

namespace {

// A folder holding one entry of every kind the listing can meet.
struct EveryKind {
    TempTree tree;
    EveryKind() {
        tree.file("top/file", 5000);
        tree.folder("top/folder");
        ::symlink(tree.at("top/folder").c_str(), tree.at("top/linkToFolder").c_str());
        ::symlink(tree.at("top/file").c_str(), tree.at("top/linkToFile").c_str());
        ::symlink(tree.at("top/gone").c_str(), tree.at("top/dangling").c_str());
        ::mkfifo(tree.at("top/fifo").c_str(), 0600);
    }
    std::string top() const { return tree.at("top"); }
};

std::map<std::string, FolderEntry> byName(std::vector<FolderEntry> entries) {
    std::map<std::string, FolderEntry> named;
    for (auto& entry : entries)
        named.emplace(entry.name, entry);
    return named;
}

std::vector<FolderEntry> readAll(const std::string& path, FolderReader::Kinds kinds) {
    FolderReader reader(path, kinds);
    std::vector<FolderEntry> entries;
    while (auto entry = reader.next())
        entries.push_back(*entry);
    return entries;
}

TEST(FileStatus, DescribesSizesIdentityAndKind) {
    TempTree tree;
    auto file = tree.file("a", 12345);
    auto status = fileStatus(file);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->kind, FileKind::regular);
    EXPECT_EQ(status->size, 12345);
    EXPECT_EQ(status->allocatedSize, allocatedBytes(file));
    EXPECT_EQ(status->linkCount, 1u);
    EXPECT_EQ(status->owner, ::getuid());
    ASSERT_EQ(::link(file.c_str(), tree.at("b").c_str()), 0);
    auto twin = fileStatus(tree.at("b"));
    EXPECT_EQ(twin->inode, fileStatus(file)->inode);
    EXPECT_EQ(twin->device, status->device);
    EXPECT_EQ(twin->linkCount, 2u);
}

TEST(FileStatus, LinksAreDescribedUnlessFollowed) {
    EveryKind every;
    EXPECT_EQ(fileStatus(every.top() + "/linkToFolder")->kind, FileKind::symbolicLink);
    EXPECT_EQ(fileStatus(every.top() + "/linkToFolder", LinkHandling::follow)->kind, FileKind::folder);
    int error = 0;
    EXPECT_FALSE(fileStatus(every.top() + "/dangling", LinkHandling::follow, &error));
    EXPECT_EQ(error, ENOENT);
    EXPECT_TRUE(fileStatus(every.top() + "/dangling"));
    EXPECT_TRUE(fileStatus(every.top() + "/fifo")->isSpecial());
}

TEST(FolderReader, GivesEveryEntryItsKindWithoutDotEntries) {
    EveryKind every;
    auto entries = byName(listFolder(every.top()));
    ASSERT_EQ(entries.size(), 6u);
    EXPECT_EQ(entries.at("file").kind, FileKind::regular);
    EXPECT_EQ(entries.at("folder").kind, FileKind::folder);
    EXPECT_EQ(entries.at("linkToFolder").kind, FileKind::symbolicLink);
    EXPECT_EQ(entries.at("fifo").kind, FileKind::fifo);
    EXPECT_TRUE(entries.at("folder").isDirectory);
    EXPECT_TRUE(entries.at("linkToFolder").isDirectory);
    EXPECT_FALSE(entries.at("linkToFile").isDirectory);
    EXPECT_FALSE(entries.at("dangling").isDirectory);
}

// File systems that leave the listing's type unknown make every entry go through lstat: the
// answer must not change.
TEST(FolderReader, KindsFromStatusMatchKindsFromTheListing) {
    EveryKind every;
    auto listed = byName(readAll(every.top(), FolderReader::Kinds::fromListing));
    auto asked = byName(readAll(every.top(), FolderReader::Kinds::fromStatus));
    ASSERT_EQ(listed.size(), asked.size());
    for (const auto& [name, entry] : listed) {
        EXPECT_EQ(asked.at(name).kind, entry.kind) << name;
        EXPECT_EQ(asked.at(name).isDirectory, entry.isDirectory) << name;
    }
}

TEST(FolderReader, StatusOfAnEntryIsRelativeToTheOpenFolder) {
    EveryKind every;
    FolderReader reader(every.top());
    // Moving the folder after opening it must not change what its entries are asked against.
    ASSERT_EQ(::rename(every.top().c_str(), every.tree.at("moved").c_str()), 0);
    auto status = reader.status("file");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->size, 5000);
    int error = 0;
    EXPECT_FALSE(reader.status("absent", &error));
    EXPECT_EQ(error, ENOENT);
}

TEST(FolderReader, AFolderThatCannotBeOpenedReportsItsErrno) {
    TempTree tree;
    int error = 0;
    EXPECT_TRUE(listFolder(tree.at("missing"), &error).empty());
    EXPECT_EQ(error, ENOENT);
    auto file = tree.file("plain", 1);
    FolderReader reader(file);
    EXPECT_EQ(reader.error(), ENOTDIR);
    EXPECT_FALSE(reader.next());
}

TEST(CanonicalPath, ResolvesLinksAndDotDot) {
    EveryKind every;
    auto resolved = canonicalPath(every.top() + "/linkToFolder/../file");
    ASSERT_TRUE(resolved);
    EXPECT_EQ(*resolved, *canonicalPath(every.top()) + "/file");
    EXPECT_FALSE(canonicalPath(every.top() + "/dangling"));
}

TEST(ErrnoName, NamesTheValueAsScriptsExpect) {
    EXPECT_EQ(errnoName(ENOENT), "ENOENT");
    EXPECT_EQ(errnoName(ENOTEMPTY), "ENOTEMPTY");
    EXPECT_EQ(errnoName(99999), "E99999");
    EXPECT_EQ(errnoDescription(ENOENT), "No such file or directory");
}

} // namespace
