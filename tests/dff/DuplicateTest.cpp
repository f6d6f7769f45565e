#include "dff/Duplicate.h"
#include "dff/Entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace dff;

namespace {

template <class K, class V> std::vector<K> walkOrder(const Duplicate<K, V>& tree) {
    std::vector<K> keys;
    for (auto node = tree.begin(); !node.done(); ++node)
        keys.push_back(node->key);
    return keys;
}

// Black root, no red node with a red child, the same number of black nodes on every path.
using Tree = Duplicate<long long, int>;

int blackHeight(const Tree::Node* node) {
    if (!node)
        return 1;
    if (node->color == Tree::red) {
        EXPECT_TRUE(!node->left || node->left->color == Tree::black);
        EXPECT_TRUE(!node->right || node->right->color == Tree::black);
    }
    int left = blackHeight(node->left), right = blackHeight(node->right);
    EXPECT_EQ(left, right);
    return left + (node->color == Tree::black ? 1 : 0);
}

TEST(Duplicate, ChainsValuesOfOneKeyInOrder) {
    Duplicate<long long, int> tree;
    tree.add(7, 1);
    tree.add(7, 2);
    tree.add(7, 3);
    auto node = tree.begin();
    ASSERT_FALSE(node.done());
    EXPECT_EQ(node->values, (std::vector<int>{1, 2, 3}));
    ++node;
    EXPECT_TRUE(node.done());
    EXPECT_TRUE(Tree().begin().done());
}

TEST(Duplicate, WalksPreOrderRightBeforeLeft) {
    Duplicate<long long, int> tree;
    for (long long key : {1, 2, 3})
        tree.add(key, 0);
    EXPECT_EQ(tree.root->key, 2);
    EXPECT_EQ(walkOrder(tree), (std::vector<long long>{2, 3, 1}));
}

TEST(Duplicate, StaysBalancedUnderRandomInsertion) {
    Duplicate<long long, int> tree;
    std::mt19937 random(42);
    for (int i = 0; i < 5000; ++i) {
        tree.add(static_cast<long long>(random() % 2000), i);
        ASSERT_EQ(tree.root->color, (Duplicate<long long, int>::black));
    }
    blackHeight(tree.root);
    auto keys = walkOrder(tree);
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
}

TEST(Entries, TypeIdsPathsAndDigestOrder) {
    Directory folder("/a", nullptr);
    File file("/a/f", 1, &folder);
    Symlink link("/a/l", 1, &folder);
    Package package("/a/p.app", &folder);
    PhotoLibrary library("/a/p.photoslibrary", nullptr);
    Photo photo("id", "/a/p.jpg", 1, &library);
    EXPECT_EQ(fileTypeId(&file), 0);
    EXPECT_EQ(fileTypeId(&folder), 1);
    EXPECT_EQ(fileTypeId(&link), 2);
    EXPECT_EQ(fileTypeId(&package), 3);
    EXPECT_EQ(fileTypeId(&library), 3);
    EXPECT_EQ(fileTypeId(&photo), 3);
    EXPECT_EQ((Path("/") / "x").str(), "//x");
    EXPECT_TRUE((HashValue{1, 0x8000000000000000ULL}) > (HashValue{1, 1}));
    EXPECT_TRUE((HashValue{0, 9}) < (HashValue{1, 0}));

    // A photo names a file deeper in its library; an entry without a parent is a root.
    EXPECT_EQ(photo.path().str(), "/a/p.jpg");
    EXPECT_EQ(library.path().str(), "/a/p.photoslibrary");
    EXPECT_EQ(package.path().str(), "/a/p.app");
}

// Entries below a folder keep their name only; the path is built through the parents, so that a
// root of "/" still gives the two slashes a plain join gives.
TEST(Entries, PathsAreBuiltFromNamesThroughTheParents) {
    Directory top("/", nullptr);
    auto* folder = new Directory("//data", &top);
    top.entries.emplace_back(folder);
    auto* inner = new Directory("//data/inner", folder);
    folder->entries.emplace_back(inner);
    auto* file = new File("//data/inner/report.txt", 7, inner);
    inner->entries.emplace_back(file);
    inner->entries.emplace_back(new Symlink("//data/inner/link", 3, inner));
    inner->entries.emplace_back(new Package("//data/inner/tool.app", inner));
    EXPECT_EQ(file->name(), "report.txt");
    EXPECT_EQ(file->path().str(), "//data/inner/report.txt");
    EXPECT_EQ(inner->path().str(), "//data/inner");
    EXPECT_EQ(top.path().str(), "/");
    std::vector<std::string> kinds;
    for (const auto& entry : inner->entries)
        kinds.push_back(entry->path().str() + " " + std::to_string(fileTypeId(entry.get())));
    EXPECT_EQ(kinds, (std::vector<std::string>{"//data/inner/report.txt 0", "//data/inner/link 2",
                                               "//data/inner/tool.app 3"}));
}

} // namespace
