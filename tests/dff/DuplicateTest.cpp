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
    EXPECT_EQ(node->values, (std::deque<int>{1, 2, 3}));
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
}

} // namespace
