#include "Core/platform/FileInfo.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <filesystem>

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

// Sizes are only as complete as what could be read: each part that could not is told by path.
TEST(DirectorySize, TellsOfEveryPartItCouldNotRead) {
    TempTree tree;
    std::vector<std::pair<std::string, int>> unreadable;
    auto tell = [&](const std::string& path, int error) { unreadable.emplace_back(path, error); };
    EXPECT_EQ(directorySize(tree.at("missing").c_str(), nullptr, tell), 0);
    ASSERT_EQ(unreadable.size(), 1u);
    EXPECT_EQ(unreadable[0], std::make_pair(tree.at("missing"), ENOENT));

    // The kernel keeps some folders from everyone, root included, where it runs in a container.
    unreadable.clear();
    const std::string guarded = "/proc/1/map_files";
    std::error_code listing;
    std::filesystem::directory_iterator probe(guarded, listing);
    if (listing.value() != EACCES)
        GTEST_SKIP() << guarded << " can be read here, so no folder below /proc/1 is unreadable";
    directorySize("/proc/1", nullptr, tell);
    EXPECT_NE(std::find(unreadable.begin(), unreadable.end(), std::make_pair(guarded, EACCES)),
              unreadable.end());
}

} // namespace
