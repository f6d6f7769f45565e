#include "dff/FreedSpace.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <unistd.h>

using namespace dff;
using core::testing::allocatedBytes;
using core::testing::TempTree;

namespace {

class FreedSpaceTest : public ::testing::Test {
protected:
    std::string file(const std::string& name, std::size_t bytes) {
        std::ofstream(tree.file(name)) << std::string(bytes, 'x');
        return tree.at(name);
    }
    long long freed(const std::vector<std::string>& members) {
        return bytesFreedByRemovingAllButFirst(std::vector<Path>(members.begin(), members.end()));
    }
    TempTree tree;
};

TEST_F(FreedSpaceTest, CopiesFreeTheirBlocks) {
    auto one = file("one", 50000), two = file("two", 50000), three = file("three", 50000);
    EXPECT_EQ(freed({one, two, three}), allocatedBytes(two) + allocatedBytes(three));
    EXPECT_EQ(freed({one}), 0);
}

TEST_F(FreedSpaceTest, ANameOfAFileFreesNothingWhileAnotherNameStays) {
    auto kept = file("kept", 50000), copy = file("copy", 50000);
    ASSERT_EQ(::link(kept.c_str(), tree.at("twin").c_str()), 0);
    EXPECT_EQ(freed({kept, tree.at("twin")}), 0);
    EXPECT_EQ(freed({kept, tree.at("twin"), copy}), allocatedBytes(copy));
    // Both names of the copy go: its blocks with the last.
    ASSERT_EQ(::link(copy.c_str(), tree.at("copy-twin").c_str()), 0);
    EXPECT_EQ(freed({kept, copy, tree.at("copy-twin")}), allocatedBytes(copy));
    // A name outside the group keeps the blocks.
    EXPECT_EQ(freed({kept, copy}), 0);
}

TEST_F(FreedSpaceTest, ASparseFileFreesWhatItWasGivenNotItsLength) {
    auto kept = file("kept", 10);
    std::string sparse = tree.at("sparse");
    std::ofstream(sparse).close();
    ASSERT_EQ(::truncate(sparse.c_str(), 10 << 20), 0);
    EXPECT_EQ(freed({kept, sparse}), allocatedBytes(sparse));
    EXPECT_LT(freed({kept, sparse}), 10 << 20);
}

TEST_F(FreedSpaceTest, AFolderFreesWhatIsOnlyInsideIt) {
    auto kept = file("a/x", 20000);
    file("b/x", 20000);
    ASSERT_EQ(::link(kept.c_str(), tree.at("b/y").c_str()), 0);
    // b's own x goes with b, and so does b's listing; its y is a name of a's x.
    EXPECT_EQ(freed({tree.at("a"), tree.at("b")}),
              allocatedBytes(tree.at("b/x")) + allocatedBytes(tree.at("b")));
}

} // namespace
