#include "Core/platform/SystemPaths.h"
#include "Core/platform/TrashDirectories.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

using namespace core;
using core::testing::ScopedSystemPaths;
using core::testing::TempTree;

namespace {

TEST(SystemPaths, PlacesTheLibrarysPathsUnderRoot) {
    SystemPaths paths("/mnt/mac/", "/home/ann/");
    EXPECT_EQ(paths.root(), "/mnt/mac");
    EXPECT_EQ(paths.resolve("/Library/Caches"), "/mnt/mac/Library/Caches");
    EXPECT_EQ(paths.localCaches(), "/mnt/mac/Library/Caches");
    EXPECT_EQ(paths.localLibrary(), "/mnt/mac/Library");
    EXPECT_EQ(paths.userLibrary(), "/home/ann/Library");
    EXPECT_EQ(paths.inHome(".Trash"), "/home/ann/.Trash");
}

TEST(SystemPaths, DefaultRootLeavesPathsAsTheyAre) {
    SystemPaths paths("/", "/home/ann");
    EXPECT_EQ(paths.resolve("/private/var/log"), "/private/var/log");
    EXPECT_EQ(paths.resolve("/"), "/");
}

TEST(TrashDirectories, ListsTheUsersTrashFoldersThatExist) {
    TempTree home;
    ScopedSystemPaths scoped("/", home.path());
    EXPECT_TRUE(trashDirectoriesIncludingICloud().empty());
    home.folder(".Trash");
    home.folder(".local/share/Trash/files");
    home.folder("Library/Mobile Documents/com~apple~CloudDocs/.Trash");
    EXPECT_EQ(trashDirectoriesIncludingICloud(),
              (std::vector<std::string>{home.at(".Trash"),
                                        home.at("Library/Mobile Documents/com~apple~CloudDocs/.Trash"),
                                        home.at(".local/share/Trash/files")}));
}

TEST(TrashDirectories, CloudDriveFilesAreThoseUnderMobileDocuments) {
    TempTree home;
    ScopedSystemPaths scoped("/", home.path());
    EXPECT_TRUE(isICloudFile(home.at("Library/Mobile Documents/com~apple~CloudDocs/a.txt")));
    EXPECT_FALSE(isICloudFile(home.at("Library/Mobile DocumentsX/a.txt")));
    EXPECT_FALSE(isICloudFile(home.at("Documents/a.txt")));
}

} // namespace
