#include "dff/PackageHasher.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace dff;
using core::testing::TempTree;

namespace {

// Stages until finished, and the digest.
std::pair<int, HashValue> digestInStages(const std::string& path, long long size) {
    Path file(path);
    FileReader reader(&file, size);
    FileHasher hasher;
    int stages = 0;
    bool finished = false;
    while (!finished) {
        finished = reader.read([&](const char* data, long long length) { hasher.update(data, length); });
        ++stages;
    }
    HashValue digest;
    hasher.hashValue(digest);
    return {stages, digest};
}

TEST(FileReader, FirstStageIsOneBlockThenAThousand) {
    TempTree tree;
    EXPECT_EQ(digestInStages(tree.file("zero", 0), 0).first, 1);
    EXPECT_EQ(digestInStages(tree.file("block", 4096), 4096).first, 1);
    EXPECT_EQ(digestInStages(tree.file("block+1", 4097), 4097).first, 2);
    EXPECT_EQ(digestInStages(tree.file("two", 4096 + 4096000), 4096 + 4096000).first, 2);
    EXPECT_EQ(digestInStages(tree.file("three", 4096 + 4096001), 4096 + 4096001).first, 3);
    // The digest of nothing for an empty file.
    MD5 empty;
    HashValue nothing;
    empty.hashValue(nothing);
    EXPECT_EQ(digestInStages(tree.at("zero"), 0).second, nothing);
}

TEST(FileReader, FailsOnMissingAndShrunkFiles) {
    TempTree tree;
    Path missing(tree.at("missing"));
    FileReader gone(&missing, 10);
    EXPECT_THROW(gone.read([](auto&&...) {}), std::runtime_error);
    Path shrunk(tree.file("shrunk", 100));
    FileReader reader(&shrunk, 5000);
    EXPECT_THROW(reader.read([](auto&&...) {}), std::runtime_error);
}

TEST(FileReader, LinksDigestTheirText) {
    TempTree tree;
    ::symlink("target-text", tree.at("link").c_str());
    Symlink link(tree.at("link"), 11, nullptr), wrong(tree.at("link"), 5, nullptr);
    HashValue digest, untouched{1, 2};
    EXPECT_TRUE(hashSymlink(link, digest));
    EXPECT_NE(digest, HashValue{});
    EXPECT_FALSE(hashSymlink(wrong, untouched));
    EXPECT_EQ(untouched, (HashValue{1, 2}));
}

HashValue packageDigest(const std::string& path, long long minSize = 0) {
    Package package(path, nullptr);
    PackageHasher hasher(&package, minSize);
    while (!hasher.update()) {
    }
    HashValue digest;
    hasher.hashValue(digest);
    return digest;
}

TEST(PackageHasher, DigestsStructureAndContent) {
    TempTree tree;
    tree.file("one.app/Contents/MacOS/tool", 5000);
    tree.file("one.app/Contents/Resources/a.txt", 10);
    tree.file("two.app/Contents/MacOS/tool", 5000);
    tree.file("two.app/Contents/Resources/a.txt", 10);
    EXPECT_EQ(packageDigest(tree.at("one.app")), packageDigest(tree.at("two.app")));
    ::rename(tree.at("two.app/Contents/Resources/a.txt").c_str(),
             tree.at("two.app/Contents/Resources/b.txt").c_str());
    EXPECT_NE(packageDigest(tree.at("one.app")), packageDigest(tree.at("two.app")));
}

TEST(PackageHasher, EmptyTooSmallAndUnknownEntries) {
    TempTree tree;
    tree.folder("empty.app");
    Package empty(tree.at("empty.app"), nullptr);
    PackageHasher first(&empty, 0);
    EXPECT_TRUE(first.update());

    tree.file("small.app/Contents/x", 10);
    EXPECT_THROW(packageDigest(tree.at("small.app"), 1000), std::runtime_error);

    tree.folder("odd.app");
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", tree.at("odd.app/socket").c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_THROW(packageDigest(tree.at("odd.app")), std::runtime_error);
    ::close(fd);
}

TEST(PackageHasher, PackagesAndTheirSizes) {
    TempTree tree;
    tree.file("Tool.APP/x", 3000);
    tree.file("Plain/Contents/Info.plist", 100);
    tree.folder("folder");
    EXPECT_TRUE(isPackagePath(tree.at("Tool.APP").c_str()));
    EXPECT_TRUE(isPackagePath(tree.at("Plain").c_str()));
    EXPECT_FALSE(isPackagePath(tree.at("folder").c_str()));
    EXPECT_EQ(packageFileSize(tree.at("Tool.APP")), 3000);
    EXPECT_EQ(packageFileSize(tree.at("folder")), 0);
}

} // namespace
