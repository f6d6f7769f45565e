#include "Core/platform/FileInfo.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace core;
using core::testing::allocatedBytes;
using core::testing::TempTree;

namespace {

TEST(GetDirectorySize, SumsAllocatedBytesOfRegularFilesOnly) {
    TempTree tree;
    auto a = tree.file("top/a", 10000);
    auto b = tree.file("top/deep/er/b", 70000);
    ::symlink(a.c_str(), tree.at("top/link").c_str());
    ::mkfifo(tree.at("top/fifo").c_str(), 0600);
    int error = 0;
    EXPECT_EQ(GetDirectorySize(tree.at("top").c_str(), nullptr, &error),
              allocatedBytes(a) + allocatedBytes(b));
    EXPECT_EQ(error, 0);
}

TEST(GetDirectorySize, DoesNotFollowALinkToAFolder) {
    TempTree tree;
    tree.file("elsewhere/big", 100000);
    tree.folder("top");
    ::symlink(tree.at("elsewhere").c_str(), tree.at("top/link").c_str());
    EXPECT_EQ(GetDirectorySize(tree.at("top").c_str(), nullptr, nullptr), 0);
}

TEST(GetDirectorySize, MissingFolderReportsItsErrno) {
    TempTree tree;
    int error = 0;
    EXPECT_EQ(GetDirectorySize(tree.at("missing").c_str(), nullptr, &error), 0);
    EXPECT_EQ(error, ENOENT);
}

TEST(GetDirectorySize, StopsWhenTheFlagIsSet) {
    TempTree tree;
    tree.file("top/a", 10000);
    std::atomic<bool> stop{true};
    EXPECT_EQ(GetDirectorySize(tree.at("top").c_str(), &stop, nullptr), 0);
}

TEST(FileTypeTests, ClassifyModes) {
    EXPECT_TRUE(isFolder(S_IFDIR | 0755));
    EXPECT_FALSE(isFolder(S_IFREG | 0644));
    EXPECT_TRUE(isSymbolicLink(S_IFLNK | 0777));
    for (mode_t special : {S_IFCHR, S_IFBLK, S_IFIFO, S_IFSOCK})
        EXPECT_TRUE(isSpecialFile(special | 0600));
    for (mode_t plain : {S_IFREG, S_IFDIR, S_IFLNK})
        EXPECT_FALSE(isSpecialFile(plain | 0600));
}

TEST(GetFileInfo, DescribesTheLinkNotItsTarget) {
    TempTree tree;
    auto target = tree.file("target", 10);
    ::symlink(target.c_str(), tree.at("link").c_str());
    FileStatus info;
    ASSERT_EQ(getFileInfo(tree.at("link").c_str(), &info), 0);
    EXPECT_TRUE(isSymbolicLink(info.mode));
    EXPECT_EQ(info.kind, FileKind::symbolicLink);
    EXPECT_NE(getFileInfo(tree.at("missing").c_str(), &info), 0);
}

} // namespace
