#include "Core/platform/SystemPaths.h"
#include "Core/platform/ConfinedPath.h"
#include "Core/platform/MountedVolumes.h"
#include "Core/platform/TrashDirectories.h"
#include "Core/platform/UserDirs.h"

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
    std::ofstream(home.at(".config/user-dirs.dirs")) << "XDG_DOWNLOAD_DIR=\"" << home.at("dl") << "\"\n";
    EXPECT_EQ(paths.downloadsDirectory(), home.at("dl"));
}

// Writes the user-dirs file of `home` with one download folder line.
void setDownloadFolder(const TempTree& home, const std::string& value) {
    std::ofstream(home.file(".config/user-dirs.dirs")) << "XDG_DOWNLOAD_DIR=\"" << value << "\"\n";
}

TEST(SystemPaths, DownloadsFolderOutsideTheHomeFallsBackAndSaysWhatItRefused) {
    TempTree home, elsewhere;
    SystemPaths paths("/", home.path());
    ::symlink(elsewhere.path().c_str(), home.at("away").c_str());
    ::symlink("../..", (home.folder("deep") + "/up").c_str());
    for (const std::string& value :
         std::vector<std::string>{"/", "$HOME/../../..", "$HOME", "$HOME/", elsewhere.path(), "$HOME/away",
                                  "$HOME/deep/up/x", "$HOME/a/../../b"}) {
        setDownloadFolder(home, value);
        auto folder = paths.downloadsFolder();
        EXPECT_EQ(folder.path, home.at("Downloads")) << value;
        EXPECT_EQ(folder.refused, value) << value;
    }
}

TEST(SystemPaths, DownloadsFolderThroughLinksThatStayInTheHome) {
    TempTree home;
    SystemPaths paths("/", home.path());
    home.folder("data/dl");
    ::symlink((home.path() + "/data").c_str(), home.at("absolute").c_str());
    ::symlink("data", home.at("relative").c_str());
    setDownloadFolder(home, "$HOME/absolute/dl");
    EXPECT_EQ(paths.downloadsFolder().path, home.at("data/dl"));
    setDownloadFolder(home, "$HOME/relative/../data/./dl");
    EXPECT_EQ(paths.downloadsFolder().path, home.at("data/dl"));
    EXPECT_EQ(paths.downloadsFolder().refused, "");
}

TEST(UserDirs, ReadsTheDownloadLineAndNothingElse) {
    EXPECT_FALSE(userDirsDownloadFolder(""));
    EXPECT_FALSE(userDirsDownloadFolder("XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"));
    EXPECT_FALSE(userDirsDownloadFolder("XDG_DOWNLOAD_DIR=\"relative/dl\""));
    EXPECT_FALSE(userDirsDownloadFolder("XDG_DOWNLOAD_DIR=\"$HOMEWORK/dl\""));
    auto home = userDirsDownloadFolder("XDG_DOWNLOAD_DIR=\"nope\"\nXDG_DOWNLOAD_DIR=$HOME/dl");
    ASSERT_TRUE(home);
    EXPECT_TRUE(home->inHome);
    EXPECT_EQ(home->path, "/dl");
    const char withNul[] = "XDG_DOWNLOAD_DIR=\"/x\0y\"";
    auto absolute = userDirsDownloadFolder(std::string(withNul, sizeof withNul - 1));
    ASSERT_TRUE(absolute);
    EXPECT_FALSE(absolute->inHome);
    EXPECT_EQ(absolute->path, std::string("/x\0y", 4));
}

TEST(UserDirs, TextLargerThanAUserDirsFileIsRefused) {
    std::string line = "XDG_DOWNLOAD_DIR=\"$HOME/dl\"\n";
    std::string text = line + std::string(userDirsSizeLimit - line.size(), '#');
    EXPECT_TRUE(userDirsDownloadFolder(text));
    EXPECT_FALSE(userDirsDownloadFolder(text + "#"));
}

TEST(ConfinedPath, AbsoluteLinksUnderARootStayInTheRoot) {
    TempTree root;
    root.folder("private/var/log");
    ::symlink("/private/var", root.at("var").c_str());
    ::symlink("/Applications", root.at("Applications").c_str());
    ::symlink("../../../../../../etc", (root.folder("Library") + "/Up").c_str());
    SystemPaths paths(root.path(), root.at("Users/ann"));
    EXPECT_EQ(paths.resolve("/var/log"), root.at("private/var/log"));
    EXPECT_EQ(paths.resolve("/../../var/./log/"), root.at("private/var/log"));
    EXPECT_EQ(paths.resolve("/Library/Up/passwd"), root.at("etc/passwd"));
    EXPECT_EQ(paths.resolve("/Missing/x"), root.at("Missing/x"));
    // A link to itself names nothing: what lies below it cannot be listed.
    auto looped = paths.resolve("/Applications");
    EXPECT_FALSE(isSameOrBelow(looped, "/Applications"));
    EXPECT_TRUE(isSameOrBelow(looped, SystemPaths::unreachableFolder));
}

TEST(ConfinedPath, TheHomeFolderUnderARootIsResolvedInsideTheRoot) {
    TempTree root;
    root.folder("Users/ann");
    root.folder("Volumes/data/Library");
    ::symlink("/Volumes/data/Library", root.at("Users/ann/Library").c_str());
    SystemPaths paths(root.path(), root.at("Users/ann"));
    EXPECT_EQ(paths.userLibrary(), root.at("Volumes/data/Library"));
    EXPECT_EQ(paths.inHome("Downloads"), root.at("Users/ann/Downloads"));
}

TEST(SystemPaths, TheTemporaryFolderUnderARootIsTheRoots) {
    TempTree root;
    root.folder("private/tmp");
    ::symlink("private/tmp", root.at("tmp").c_str());
    EXPECT_EQ(SystemPaths(root.path(), "/home/ann").temporaryDirectory(), root.at("private/tmp"));
    EXPECT_NE(SystemPaths("/", "/home/ann").temporaryDirectory().rfind(root.path(), 0), 0u);
}

TEST(MountedVolumes, UnderARootOnlyTheVolumesInsideItCount) {
    core::testing::ScopedMountTable table(
        {"/", "/media/usb", "/mnt/mac", "/mnt/mac/Volumes/b", "/mnt/macintosh"});
    EXPECT_EQ(volumesUnderRoot("/mnt/mac"), (std::vector<std::string>{"/mnt/mac", "/mnt/mac/Volumes/b"}));
    EXPECT_EQ(volumesUnderRoot("/").size(), 5u);
    EXPECT_TRUE(volumesUnderRoot("/srv/tree").empty());
}

} // namespace
