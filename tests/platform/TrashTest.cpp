#include "Core/platform/Trash.h"
#include "Core/platform/FileInfo.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <unistd.h>

using namespace core;
using core::testing::entryExists;
using core::testing::ScopedSystemPaths;
using core::testing::TempTree;

namespace {

std::string output(const std::string& command) {
    std::string text;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[4096];
        while (std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
            text.append(buffer, n);
        ::pclose(pipe);
    }
    return text;
}

// A home folder of its own on the same file system as the items, as the machine's trash has.
struct HomeTrash {
    TempTree tree;
    ScopedSystemPaths paths{"/", tree.at("home")};
    HomeTrash() { tree.folder("home"); }
    std::string trash(const std::string& relative) const {
        return tree.at("home/.local/share/Trash/" + relative);
    }
};

TEST(Trash, AFileGoesToTheHomeTrashWithItsOrigin) {
    HomeTrash home;
    auto item = home.tree.file("work/report.txt", 100);
    ASSERT_EQ(moveToTrash(item), 0);
    EXPECT_FALSE(entryExists(item));
    EXPECT_TRUE(entryExists(home.trash("files/report.txt")));
    auto info = readFileContents(home.trash("info/report.txt.trashinfo"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->rfind("[Trash Info]\nPath=" + percentEncodedTrashPath(item) + "\nDeletionDate=", 0), 0u);
}

TEST(Trash, ATakenNameGetsTheNextFreeOne) {
    HomeTrash home;
    ASSERT_EQ(moveToTrash(home.tree.file("a/report.txt", 1)), 0);
    ASSERT_EQ(moveToTrash(home.tree.file("b/report.txt", 2)), 0);
    ASSERT_EQ(moveToTrash(home.tree.file("c/report.txt", 3)), 0);
    EXPECT_EQ(std::filesystem::file_size(home.trash("files/report.txt")), 1u);
    EXPECT_EQ(std::filesystem::file_size(home.trash("files/report.2.txt")), 2u);
    EXPECT_EQ(std::filesystem::file_size(home.trash("files/report.3.txt")), 3u);
    EXPECT_TRUE(entryExists(home.trash("info/report.3.txt.trashinfo")));
}

TEST(Trash, ALinkIsTrashedNotItsTarget) {
    HomeTrash home;
    auto target = home.tree.file("keep/data", 10);
    auto link = home.tree.at("work/link");
    std::filesystem::create_directories(home.tree.at("work"));
    ::symlink(target.c_str(), link.c_str());
    ASSERT_EQ(moveToTrash(link), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(home.trash("files/link")));
    EXPECT_TRUE(entryExists(target));
}

TEST(Trash, ATrashedFolderJoinsTheSizeCacheWhereItExists) {
    HomeTrash home;
    home.tree.folder("home/.local/share/Trash/files");
    home.tree.file("home/.local/share/Trash/directorysizes", 0);
    auto folder = home.tree.folder("work/odd name");
    home.tree.file("work/odd name/inside", 8192);
    auto size = GetDirectorySize(folder.c_str(), nullptr, nullptr);
    ASSERT_EQ(moveToTrash(folder), 0);
    auto cache = readFileContents(home.trash("directorysizes"));
    ASSERT_TRUE(cache);
    EXPECT_EQ(cache->substr(0, cache->find(' ')), std::to_string(size));
    EXPECT_NE(cache->find(" odd%20name\n"), std::string::npos);
}

// The trash folders are made once a process; one the user empties away meanwhile is made again.
TEST(Trash, ATrashFolderRemovedBetweenItemsIsMadeAgain) {
    HomeTrash home;
    ASSERT_EQ(moveToTrash(home.tree.file("work/a", 1)), 0);
    std::filesystem::remove_all(home.trash(""));
    ASSERT_EQ(moveToTrash(home.tree.file("work/b", 1)), 0);
    EXPECT_TRUE(entryExists(home.trash("files/b")));
    EXPECT_TRUE(entryExists(home.trash("info/b.trashinfo")));
}

TEST(Trash, OddBytesInANameArePercentEncoded) {
    EXPECT_EQ(percentEncodedTrashPath("/a b/\n\xff%.txt"), "/a%20b/%0A%FF%25.txt");
    EXPECT_EQ(alternativeTrashName("a.tar.gz", 2, false), "a.tar.2.gz");
    EXPECT_EQ(alternativeTrashName(".hidden", 3, false), ".hidden.3");
    EXPECT_EQ(alternativeTrashName("photo.jpg", 2, true), "photo 2.jpg");
}

TEST(Trash, AMissingItemFails) {
    HomeTrash home;
    EXPECT_EQ(moveToTrash(home.tree.at("missing")), ENOENT);
    EXPECT_EQ(moveToTrash(home.tree.at("missing/deeper")), ENOENT);
}

TEST(Trash, UnderAMountedVolumeItemsGoToThatUsersTrashWithFinderNames) {
    TempTree volume;
    ScopedSystemPaths paths(volume.path(), volume.at("Users/ann"));
    ASSERT_EQ(moveToTrash(volume.file("Users/ann/Desktop/photo.jpg", 1)), 0);
    ASSERT_EQ(moveToTrash(volume.file("Users/ann/Documents/photo.jpg", 2)), 0);
    EXPECT_EQ(std::filesystem::file_size(volume.at("Users/ann/.Trash/photo.jpg")), 1u);
    EXPECT_EQ(std::filesystem::file_size(volume.at("Users/ann/.Trash/photo 2.jpg")), 2u);
}

// What we write must be what the trash tools of the desktop read: listed with its origin, and put
// back where it was.
TEST(Trash, TheDesktopsTrashToolsListAndRestoreWhatWeTrashed) {
    if (::access("/usr/bin/trash-list", X_OK) != 0 || ::access("/usr/bin/trash-restore", X_OK) != 0)
        GTEST_SKIP() << "trash-cli is not installed";
    HomeTrash home;
    auto item = home.tree.file("work/notes one.txt", 42);
    ASSERT_EQ(moveToTrash(item), 0);
    std::string environment = "env -u XDG_DATA_HOME HOME='" + home.tree.at("home") + "' ";
    EXPECT_NE(output(environment + "trash-list").find(item), std::string::npos);
    output("cd '" + home.tree.at("work") + "' && echo 0 | " + environment + "trash-restore");
    EXPECT_TRUE(entryExists(item));
    EXPECT_EQ(std::filesystem::file_size(item), 42u);
}

} // namespace
