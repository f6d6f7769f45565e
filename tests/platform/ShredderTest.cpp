#include "Core/platform/Shredder.h"
#include "Core/platform/FileFlags.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace core;
using core::testing::entryExists;
using core::testing::TempTree;

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string readThrough(int descriptor, std::size_t length) {
    std::string bytes(length, '\0');
    auto got = ::pread(descriptor, bytes.data(), length, 0);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

TEST(Shredder, OverwritesTheContentInPlaceBeforeRemoving) {
    TempTree tree;
    auto file = tree.file("secret", 100000);
    std::string before = contentOf(file);
    // A descriptor kept open sees the blocks that the file had, after its name is gone.
    int descriptor = ::open(file.c_str(), O_RDONLY);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(shredPath(file), 0);
    EXPECT_FALSE(entryExists(file));
    std::string after = readThrough(descriptor, before.size());
    ::close(descriptor);
    EXPECT_EQ(after.size(), before.size());
    EXPECT_NE(after, before);
}

TEST(Shredder, AFileWithAnotherHardLinkIsOnlyUnlinked) {
    TempTree tree;
    auto file = tree.file("shared", 5000);
    ASSERT_EQ(::link(file.c_str(), tree.at("other-name").c_str()), 0);
    std::string before = contentOf(file);
    ASSERT_EQ(shredPath(file), 0);
    EXPECT_FALSE(entryExists(file));
    EXPECT_EQ(contentOf(tree.at("other-name")), before);
}

TEST(Shredder, AFolderGoesWholeButLinksInsideAreNotWrittenThrough) {
    TempTree tree;
    auto outside = tree.file("outside/keep", 3000);
    std::string kept = contentOf(outside);
    tree.file("top/a", 3000);
    tree.file("top/deep/b", 3000);
    ::symlink(outside.c_str(), tree.at("top/link").c_str());
    ::symlink(tree.at("outside").c_str(), tree.at("top/deep/folderLink").c_str());
    ::mkfifo(tree.at("top/fifo").c_str(), 0600);
    ASSERT_EQ(shredPath(tree.at("top")), 0);
    EXPECT_FALSE(entryExists(tree.at("top")));
    EXPECT_EQ(contentOf(outside), kept);
}

TEST(Shredder, AMissingPathSucceedsAsTheCommandDoes) {
    TempTree tree;
    EXPECT_EQ(shredPath(tree.at("missing")), 0);
}

TEST(FileFlags, TellTheImmutableFlagFromTheOthers) {
    TempTree tree;
    auto file = tree.file("locked", 10);
    if (std::system(("chattr +i '" + file + "' 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "setting the immutable flag needs root and a file system that keeps it";
    auto flags = protectionFlags(file);
    std::system(("chattr -i '" + file + "'").c_str());
    ASSERT_TRUE(flags);
    EXPECT_TRUE(flags->onlyImmutable());
    ASSERT_EQ(std::system(("chattr +a '" + file + "'").c_str()), 0);
    flags = protectionFlags(file);
    std::system(("chattr -a '" + file + "'").c_str());
    EXPECT_FALSE(flags->onlyImmutable());
    EXPECT_TRUE(flags->appendOnly);
}

TEST(FileFlags, LinksAndSpecialFilesHaveNone) {
    TempTree tree;
    ::symlink("/etc/passwd", tree.at("link").c_str());
    ::mkfifo(tree.at("fifo").c_str(), 0600);
    EXPECT_FALSE(protectionFlags(tree.at("link")));
    EXPECT_FALSE(protectionFlags(tree.at("fifo")));
    EXPECT_FALSE(protectionFlags(tree.at("missing")));
}

} // namespace
