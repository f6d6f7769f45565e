#include "Core/foundation/CaseInsensitiveString.h"

#include <gtest/gtest.h>

using namespace core;

namespace {

std::string pieceAt(const std::string& text, const std::optional<TextRange>& range) {
    return range ? text.substr(range->position, range->length) : "<none>";
}

TEST(FindIgnoringCase, PositionsAreInTheOriginalText) {
    std::string ascii = "com.Example.GROUP.app";
    EXPECT_EQ(pieceAt(ascii, findIgnoringCase(ascii, "group.")), "GROUP.");
    // "İ" is two bytes but folds to three: a position in the folded text would lie beyond these.
    std::string dotted = "group.\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130\u0130group.x";
    auto second = findIgnoringCase(dotted, "GROUP.", 1);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->position, 6u + 10u * 2u);
    EXPECT_EQ(pieceAt(dotted, second), "group.");
    // A needle whose folded form has another length than its match.
    std::string sharp = "Stra\u00dfe.app";
    EXPECT_EQ(pieceAt(sharp, findIgnoringCase(sharp, "STRASSE")), "Stra\u00dfe");
}

TEST(FindIgnoringCase, MatchesWholeCharactersOnly) {
    std::string sharp = "\u00df";
    EXPECT_FALSE(findIgnoringCase(sharp, "s"));
    EXPECT_FALSE(findIgnoringCase("com.example", "example.com"));
    EXPECT_FALSE(findIgnoringCase("group.x", "group.", 1));
    // Bytes that are no UTF-8 stand for themselves.
    std::string invalid = "a\xff"
                          "Group.b";
    EXPECT_EQ(pieceAt(invalid, findIgnoringCase(invalid, "group.")), "Group.");
}

} // namespace
