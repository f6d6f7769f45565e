#include "Core/platform/SystemPaths.h"
#include "Core/platform/MountedVolumes.h"
#include "Core/platform/TrashDirectories.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <unistd.h>

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
    core::testing::ScopedMountTable noVolumes({});
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

namespace {

TEST(MountedVolumes, LeavesOutPseudoFileSystemsAndUnescapesMountPoints) {
    const std::string mountInfo =
        "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
        "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw\n"
        "25 24 0:23 / /dev/shm rw,relatime - tmpfs tmpfs rw\n"
        "40 27 8:17 / /media/ann/My\\040Disk rw,relatime shared:7 master:1 - vfat /dev/sdb1 rw\n"
        "41 31 0:38 / /sys/fs/cgroup/unified rw,relatime - cgroup2 cgroup2 rw\n";
    EXPECT_EQ(core::parseMountInfo(mountInfo), (std::vector<std::string>{"/", "/media/ann/My Disk"}));
}

TEST(TrashDirectories, IncludesTheFreedesktopTrashOfEveryVolume) {
    TempTree home, volume;
    ScopedSystemPaths scoped("/", home.path());
    core::testing::ScopedMountTable mounted({volume.path()});
    auto uid = std::to_string(::getuid());
    auto shared = volume.folder(".Trash/" + uid + "/files");
    auto own = volume.folder(".Trash-" + uid + "/files");
    EXPECT_EQ(trashDirectoriesIncludingICloud(), (std::vector<std::string>{shared, own}));
}

TEST(SystemPaths, DownloadsFolderFollowsTheUsersDirectorySettings) {
    TempTree home;
    SystemPaths paths("/", home.path());
    EXPECT_EQ(paths.downloadsDirectory(), home.at("Downloads"));
    std::ofstream(home.file(".config/user-dirs.dirs"))
        << "# written by "
           "xdg-user-dirs-update\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_DOWNLOAD_DIR=\"$HOME/"
           "Téléchargements/\"\n";
    EXPECT_EQ(paths.downloadsDirectory(), home.at("Téléchargements"));
    std::ofstream(home.at(".config/user-dirs.dirs")) << "XDG_DOWNLOAD_DIR=\"/srv/downloads\"\n";
    EXPECT_EQ(paths.downloadsDirectory(), "/srv/downloads");
}

} // namespace
