#include "Core/platform/PropertyList.h"
#include "Core/apps/AppBundle.h"

#include "tests/support/AppFixtures.h"
#include "tests/support/RecordingAnalytics.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace core;
using namespace core::testing;

namespace {

const std::map<std::string, std::string> appInfo = {{"CFBundleIdentifier", "com.example.deep"},
                                                    {"CFBundleExecutable", "main"}};

// The top dictionary counts as one level of nesting.
constexpr int deepestAllowedArrays = maximumPlistDepth - 1;

class PropertyListLimits : public ::testing::TestWithParam<PlistFormat> {
protected:
    TempTree root, home;
    ScopedSystemPaths paths{root.path(), home.path()};
};

TEST_P(PropertyListLimits, NestingUpToTheCapIsRead) {
    PlistProblem problem = PlistProblem::missing;
    auto parsed = parsePropertyList(nestedPropertyList(GetParam(), appInfo, deepestAllowedArrays), &problem);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(problem, PlistProblem::none);
    const PlistValue* level = &parsed->dictionary()->at("Nested");
    int depth = 0;
    for (; level->array() && !level->array()->empty(); level = &level->array()->front())
        ++depth;
    EXPECT_EQ(depth + 1, deepestAllowedArrays);
    EXPECT_EQ(stringValue(*parsed->dictionary(), "CFBundleIdentifier"), "com.example.deep");
}

TEST_P(PropertyListLimits, DeeperNestingIsRefusedWithoutExhaustingTheStack) {
    for (int arrays : {deepestAllowedArrays + 1, 30000}) {
        PlistProblem problem = PlistProblem::none;
        EXPECT_FALSE(parsePropertyList(nestedPropertyList(GetParam(), appInfo, arrays), &problem));
        EXPECT_EQ(problem, PlistProblem::tooDeep) << arrays;
    }
}

TEST_P(PropertyListLimits, ABundleWithADeepDictionaryIsSkippedAndSaid) {
    ScopedRecordingAnalytics analytics;
    auto path =
        writeBundleWithInfo(root, "Applications/Deep.app", nestedPropertyList(GetParam(), appInfo, 30000));
    writeBundle(root, "Applications/Deep.app/Contents/Library/LoginItems/Helper.app", "com.example.helper");
    EXPECT_FALSE(AppBundleLoader().load(URL::fileURL(path)));
    auto logs = analytics->logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_NE(logs[0].text.find(path), std::string::npos);
    EXPECT_NE(logs[0].text.find(describe(PlistProblem::tooDeep)), std::string::npos);

    auto shallow = writeBundleWithInfo(root, "Applications/Shallow.app",
                                       nestedPropertyList(GetParam(), appInfo, deepestAllowedArrays));
    auto bundle = AppBundleLoader().load(URL::fileURL(shallow));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->bundleID().origin(), "com.example.deep");
}

INSTANTIATE_TEST_SUITE_P(BothFormats, PropertyListLimits,
                         ::testing::Values(PlistFormat::xml, PlistFormat::binary));

class PropertyListSize : public ::testing::Test {
protected:
    // The length of the string that pads an XML dictionary to `bytes` bytes.
    static std::size_t paddingFor(std::size_t bytes) {
        return bytes - nestedPropertyList(PlistFormat::xml, {{"Key", ""}}, 0).size();
    }
    static std::string paddedList(std::size_t bytes) {
        return nestedPropertyList(PlistFormat::xml, {{"Key", std::string(paddingFor(bytes), 'a')}}, 0);
    }
    TempTree tree;
};

TEST_F(PropertyListSize, AListAtTheCapIsRead) {
    auto path = tree.file("cap.plist");
    std::ofstream(path) << paddedList(maximumPlistBytes);
    PlistProblem problem = PlistProblem::missing;
    auto read = readPlistContent(path, &problem);
    ASSERT_TRUE(read);
    EXPECT_EQ(problem, PlistProblem::none);
    EXPECT_EQ(stringValue(*read, "Key")->size(), paddingFor(maximumPlistBytes));
}

TEST_F(PropertyListSize, ALargerListIsRefused) {
    auto path = tree.file("large.plist");
    auto bytes = paddedList(maximumPlistBytes + 1);
    std::ofstream(path) << bytes;
    PlistProblem problem = PlistProblem::none;
    EXPECT_FALSE(readPlistContent(path, &problem));
    EXPECT_EQ(problem, PlistProblem::tooLarge);
    EXPECT_FALSE(parsePropertyList(bytes, &problem));
    EXPECT_EQ(problem, PlistProblem::tooLarge);
}

TEST_F(PropertyListSize, OnlyRegularFilesAreRead) {
    tree.folder("folder.plist");
    PlistProblem problem = PlistProblem::none;
    EXPECT_FALSE(readPlistContent(tree.at("folder.plist"), &problem));
    EXPECT_EQ(problem, PlistProblem::missing);
    EXPECT_FALSE(readPlistContent(tree.at("absent.plist"), &problem));
    EXPECT_EQ(problem, PlistProblem::missing);
}

// A binary list of one entry {KEY: VALUE}, both plain one-byte-per-character strings.
std::string binaryListOfOneEntry(const std::string& key, const std::string& value) {
    std::string list = "bplist00";
    list += "\xD1\x01\x02";
    list += static_cast<char>(0x50 | key.size()) + key;
    list += static_cast<char>(0x50 | value.size()) + value;
    std::size_t table = list.size();
    list += std::string{8, static_cast<char>(11), static_cast<char>(11 + 1 + key.size())};
    list += std::string(6, '\0') + "\x01\x01";
    list += std::string(7, '\0') + "\x03" + std::string(8, '\0');
    list += std::string(7, '\0') + static_cast<char>(table);
    return list;
}

// libplist ends the process when a key or a string holds a NUL; such a list is refused instead.
TEST(PropertyListStrings, ANulInAKeyOrAStringOfABinaryListIsRefused) {
    auto plain = parsePropertyList(binaryListOfOneEntry("ab", "xy"));
    ASSERT_TRUE(plain);
    for (const auto& list : {binaryListOfOneEntry(std::string("a\0b", 3), "xy"),
                             binaryListOfOneEntry("ab", std::string("x\0y", 3))}) {
        PlistProblem problem = PlistProblem::none;
        EXPECT_FALSE(parsePropertyList(list, &problem));
        EXPECT_EQ(problem, PlistProblem::malformed);
    }
}

TEST(PropertyListStrings, AnXmlListHoldingANulIsRefused) {
    std::string list = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key><string>a";
    list += std::string(1, '\0') + "b</string></dict></plist>";
    PlistProblem problem = PlistProblem::none;
    EXPECT_FALSE(parsePropertyList(list, &problem));
    EXPECT_EQ(problem, PlistProblem::malformed);
}

TEST(PropertyListStrings, ABinaryListWhoseOffsetTableLiesIsRefused) {
    auto list = binaryListOfOneEntry("ab", "xy");
    list[list.size() - 1] = static_cast<char>(0xF0);
    EXPECT_FALSE(parsePropertyList(list));
}

} // namespace
