#include "dff/FileType.h"
#include "dff/Entries.h"
#include "types/UniformTypeTable.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace dff;
using core::testing::TempTree;

namespace {

std::string writeBytes(const TempTree& tree, const std::string& name, const std::string& bytes) {
    std::string path = tree.at(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

const std::string pngSignature("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x02\0\0\0", 29);

TEST(FileType, TheExtensionDecidesWhereTheTableKnowsIt) {
    TempTree tree;
    // Whatever the content says: the extension is what a user named the file by.
    File photo(writeBytes(tree, "holiday.JPG", "not really a picture"), 20, nullptr);
    EXPECT_STREQ(photo.getType(), "public.jpeg");
    EXPECT_STREQ(typetable::fileTypeForExtension("TiFf"), "public.tiff");
    EXPECT_EQ(typetable::fileTypeForExtension("unheard-of"), nullptr);
}

TEST(FileType, ContentDecidesWhereTheExtensionSaysNothing) {
    TempTree tree;
    File png(writeBytes(tree, "picture", pngSignature), 29, nullptr);
    File text(writeBytes(tree, "notes.unheard-of", "Plain words, nothing more.\n"), 27, nullptr);
    File script(writeBytes(tree, "run", "#!/bin/sh\necho hello\n"), 21, nullptr);
    File otherScript(writeBytes(tree, "run-too", "#!/bin/sh\necho bye\n"), 19, nullptr);
    File empty(writeBytes(tree, "empty", ""), 0, nullptr);
    EXPECT_STREQ(png.getType(), "public.png");
    EXPECT_STREQ(text.getType(), "public.plain-text");
    EXPECT_STREQ(empty.getType(), "public.data");
    // A content type the table does not know gets a type of its own, the same for both scripts.
    EXPECT_STREQ(script.getType(), "dyn.text.x-shellscript");
    EXPECT_EQ(script.getType(), otherScript.getType());
}

TEST(FileType, AFailedAskIsNotKept) {
    TempTree tree;
    File later(tree.at("later"), 29, nullptr);
    EXPECT_EQ(later.getType(), nullptr);
    EXPECT_EQ(later.type, nullptr);
    writeBytes(tree, "later", pngSignature);
    EXPECT_STREQ(later.getType(), "public.png");
}

} // namespace
