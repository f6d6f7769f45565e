#include "dff/FolderListing.h"
#include "dff/PackageHasher.h"
#include "dff/SizeGroupRace.h"

#include "tests/dff/TreeFixtures.h"
#include "tests/support/TempTree.h"

#include "types/UniformTypeTable.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <random>
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

HashValue digestOf(const std::string& bytes) {
    MD5 digest;
    digest.updateMD5(bytes.data(), static_cast<long long>(bytes.size()));
    HashValue value;
    digest.hashValue(value);
    return value;
}

std::string randomBytes(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(count, '\0');
    for (auto& byte : bytes)
        byte = static_cast<char>(generator());
    return bytes;
}

TEST(MD5, TwoStreamsSideBySideDigestAsEachAlone) {
    std::string a = randomBytes(300000, 1), b = randomBytes(300000, 2);
    // Whole blocks, a ragged end, and a start that leaves part of a block in one context.
    for (long long head : {0LL, 64LL, 13LL}) {
        for (long long length : {0LL, 64LL, 1000LL, 299000LL}) {
            MD5 first, second;
            first.updateMD5(a.data(), head);
            second.updateMD5(b.data(), 64);
            MD5::updatePair(first, a.data() + head, second, b.data() + 64, length);
            // Both go on alone afterwards, and the digests still come out right.
            first.updateMD5(a.data() + head + length, 7);
            HashValue x, y;
            first.hashValue(x);
            second.hashValue(y);
            EXPECT_EQ(x, digestOf(a.substr(0, static_cast<std::size_t>(head + length + 7))))
                << head << " " << length;
            EXPECT_EQ(y, digestOf(b.substr(0, static_cast<std::size_t>(64 + length))))
                << head << " " << length;
        }
    }
}

TEST(FileReader, PairsReadSideBySideMatchSingleReadsAndFailAlone) {
    TempTree tree;
    const long long size = 4096 + 4096000 + 100;
    std::string content = randomBytes(static_cast<std::size_t>(size), 3);
    std::ofstream(tree.at("one"), std::ios::binary) << content;
    std::ofstream(tree.at("two"), std::ios::binary) << content;
    std::ofstream(tree.at("short"), std::ios::binary) << content.substr(0, 5000);
    File one(tree.at("one"), size, nullptr), two(tree.at("two"), size, nullptr);
    File missing(tree.at("missing"), size, nullptr), shrunk(tree.at("short"), size, nullptr);
    RacingFile a(&one), b(&two), gone(&missing), cut(&shrunk);
    RacingFile alone(&two);

    for (int stage = 0; stage < 3; ++stage) {
        RacingFile::readStagePair(a, b);
        HashValue pairDigest = two.hash;
        alone.readStage();
        EXPECT_EQ(one.hash, pairDigest) << stage;
        EXPECT_EQ(two.hash, pairDigest) << stage;
        EXPECT_EQ(a.state, alone.state) << stage;
    }
    EXPECT_EQ(a.state, RacingFile::finished);
    EXPECT_EQ(one.hash, digestOf(content));

    // A file that cannot be opened, or ends early, leaves its partner to finish alone.
    RacingFile partner(&one), otherPartner(&two);
    RacingFile::readStagePair(gone, partner);
    EXPECT_EQ(gone.state, RacingFile::unreadable);
    EXPECT_EQ(partner.state, RacingFile::racing);
    RacingFile::readStagePair(otherPartner, cut);
    RacingFile::readStagePair(otherPartner, cut);
    EXPECT_EQ(cut.state, RacingFile::unreadable);
    EXPECT_EQ(otherPartner.state, RacingFile::racing);
    partner.readStage();
    partner.readStage();
    otherPartner.readStage();
    EXPECT_EQ(partner.state, RacingFile::finished);
    EXPECT_EQ(otherPartner.state, RacingFile::finished);
    EXPECT_EQ(one.hash, digestOf(content));
    EXPECT_EQ(two.hash, digestOf(content));
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
    dff::testing::Socket socket(tree.at("odd.app/socket"));
    EXPECT_THROW(packageDigest(tree.at("odd.app")), std::runtime_error);
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

TEST(PackageHasher, AFileSystemThatReportsNoKindsGivesTheSameDigestAndSize) {
    TempTree tree;
    tree.file("one.app/Contents/MacOS/tool", 5000);
    tree.file("one.app/Contents/Resources/a.txt", 10);
    ASSERT_EQ(::symlink("MacOS/tool", tree.at("one.app/Contents/current").c_str()), 0);
    auto reported = packageDigest(tree.at("one.app"));
    auto size = packageFileSize(tree.at("one.app"));
    FolderListing::KindsUnknown unknown;
    EXPECT_EQ(packageDigest(tree.at("one.app")), reported);
    EXPECT_EQ(packageFileSize(tree.at("one.app")), size);
}

TEST(PackageHasher, EveryPackageExtensionOfTheTableMakesAPackage) {
    TempTree tree;
    for (const auto& row : typetable::packageTypes) {
        std::string name = std::string("x.") + row.extension;
        tree.folder(name);
        EXPECT_TRUE(isPackagePath(tree.at(name).c_str())) << name;
    }
}

TEST(PackageHasher, PackagesDeeperThanThePathLimitAreDigested) {
    TempTree tree;
    dff::testing::DeepFolder deep(tree.path(), PATH_MAX / 200 + 2);
    deep.write("x", std::string(3000, 'x'));
    deep.link("l", "x");
    std::string inner(200, 'd');
    std::ofstream(tree.file("shallow/" + inner + "/x")) << std::string(3000, 'x');
    ASSERT_EQ(::symlink("x", tree.at("shallow/" + inner + "/l").c_str()), 0);
    // The package is the deep folder's parent: the same layout as the shallow one.
    std::string package = deep.path().substr(0, deep.path().rfind('/'));
    ASSERT_GT(package.size(), static_cast<std::size_t>(PATH_MAX));
    EXPECT_EQ(packageFileSize(package), 3001);
    EXPECT_EQ(packageDigest(package), packageDigest(tree.at("shallow")));
}

} // namespace
