#include "tests/support/JunkScanRecorder.h"

#include <gtest/gtest.h>

#include <sys/xattr.h>
#include <unistd.h>

using namespace core;
using namespace core::testing;

namespace {

std::vector<std::string> trashLogLines(const RecordingAnalytics& analytics) {
    std::vector<std::string> lines;
    for (const auto& log : analytics.logs())
        lines.push_back(log.text);
    return lines;
}

bool hasLine(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

class TrashScanTest : public JunkCategoryTest {
protected:
    std::vector<std::string> scanTrash(const std::vector<std::string>& excluded = {}) {
        return scan(&JunkFileFinderConfig::trashFiles, "trashFileFound", excluded);
    }
    std::string xdgTrash(const std::string& name = "") const {
        return home.at(".local/share/Trash/files" + (name.empty() ? "" : "/" + name));
    }
};

TEST_F(TrashScanTest, ReportsTopLevelItemsOfEveryTrashWithTheirSizes) {
    home.file(".local/share/Trash/files/report.pdf", 3000);
    auto inside = home.file(".local/share/Trash/files/old project/src/main.c", 9000);
    home.file(".Trash/from-mac.txt", 12);
    EXPECT_EQ(scanTrash(), (std::vector<std::string>{home.at(".Trash/from-mac.txt"), xdgTrash("old project"),
                                                     xdgTrash("report.pdf")}));
    for (const auto& file : recorder->files("trashFileFound"))
        if (file.url.lastPathComponent() == "old project") {
            EXPECT_EQ(file.size, allocatedBytes(inside));
        }
    auto events = analytics->eventsFor("trash");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].params.at("num"), "3");
    EXPECT_EQ(events[0].params.at("size"), std::to_string(3000 + 12 + allocatedBytes(inside)));
}

TEST_F(TrashScanTest, LogsWhatItSawInOrderWithSortedFields) {
    home.folder(".local/share/Trash/files");
    home.file(".Trash/a", 5);
    scanTrash();
    auto lines = trashLogLines(*analytics);
    ASSERT_GE(lines.size(), 4u);
    // The macOS trash of the home folder is on both lists, and counts as the system's.
    EXPECT_EQ(lines[0], "[TrashScan] system_urls count=2 paths=" + home.at(".Trash") + "|" + xdgTrash());
    EXPECT_EQ(lines[1], "[TrashScan] candidate_urls count=2 paths=" + home.at(".Trash") + "|" + xdgTrash());
    EXPECT_EQ(lines[2], "[TrashScan] inspect exists=true isDirectory=true path=" + home.at(".Trash") +
                            " readable=true source=system_api writable=true");
    EXPECT_TRUE(hasLine(lines, "[TrashScan] list_ok itemCount=1 path=" + home.at(".Trash")));
    EXPECT_TRUE(hasLine(lines, "[TrashScan] found_item isDirectory=false parentPath=" + home.at(".Trash") +
                                   " path=" + home.at(".Trash/a") + " size=5"));
    EXPECT_TRUE(hasLine(lines, "[TrashScan] list_ok itemCount=0 path=" + xdgTrash()));
    EXPECT_TRUE(
        hasLine(lines, "[TrashScan] has_content check=top_level path=" + xdgTrash() + " value=false"));
    auto event = analytics->eventsFor("trash").at(0).params;
    EXPECT_EQ(lines.back(), "[TrashScan] finished durationMs=" + event.at("duration") + " num=1 size=5");
    for (const auto& log : analytics->logs())
        EXPECT_EQ(log.level, 2);
}

TEST_F(TrashScanTest, VolumeWithoutTrashIsLoggedAsFailedAndTheScanGoesOn) {
    auto volume = root.folder("Volumes/usb");
    ScopedMountTable mounted({volume});
    home.file(".Trash/a", 5);
    EXPECT_EQ(scanTrash(), (std::vector<std::string>{home.at(".Trash/a")}));
    auto missing = volume + "/.Trashes/" + std::to_string(::getuid());
    auto lines = trashLogLines(*analytics);
    EXPECT_TRUE(hasLine(lines, "[TrashScan] inspect exists=false isDirectory=false path=" + missing +
                                   " readable=false source=diagnostic writable=false"));
    EXPECT_TRUE(hasLine(lines, "[TrashScan] list_failed error=No such file or directory path=" + missing));
    for (const auto& log : analytics->logs())
        EXPECT_EQ(log.level, log.text.find("list_failed") != std::string::npos ? 3 : 2);
}

TEST_F(TrashScanTest, VolumesOfTheHostOutsideTheRootAreNotLookedAt) {
    TempTree hostVolume;
    hostVolume.file(".Trash-" + std::to_string(::getuid()) + "/files/host-file", 5);
    auto inside = root.folder("Volumes/usb");
    root.file("Volumes/usb/.Trash-" + std::to_string(::getuid()) + "/files/volume-file", 7);
    ScopedMountTable mounted({"/", hostVolume.path(), inside});
    EXPECT_EQ(scanTrash(), (std::vector<std::string>{inside + "/.Trash-" + std::to_string(::getuid()) +
                                                     "/files/volume-file"}));
}

TEST_F(TrashScanTest, ExcludedItemIsNotReportedButIsCounted) {
    home.file(".local/share/Trash/files/keep", 1);
    home.file(".local/share/Trash/files/skip", 1);
    home.file(".local/share/Trash/files/.DS_Store", 1);
    EXPECT_EQ(scanTrash({xdgTrash("skip")}), (std::vector<std::string>{xdgTrash("keep")}));
    EXPECT_TRUE(hasLine(trashLogLines(*analytics), "[TrashScan] list_ok itemCount=2 path=" + xdgTrash()));
}

class DownloadsTest : public JunkCategoryTest {};

TEST_F(DownloadsTest, EveryTopLevelEntryButLocalized) {
    home.file("Downloads/setup.deb", 4000);
    home.file("Downloads/.localized", 1);
    auto inside = home.file("Downloads/photos/a.jpg", 7000);
    home.file("Downloads/skip me/x", 1);
    auto found =
        scan(&JunkFileFinderConfig::downloadsFiles, "downloadFileFound", {home.at("Downloads/skip me")});
    EXPECT_EQ(found, (std::vector<std::string>{home.at("Downloads/photos"), home.at("Downloads/setup.deb")}));
    auto event = analytics->eventsFor("downloads").at(0).params;
    EXPECT_EQ(event.at("size"), std::to_string(4000 + allocatedBytes(inside)));
}

TEST_F(DownloadsTest, MailAttachmentsOfEachClient) {
    auto library = [&](const std::string& path) { return home.at("Library/" + path); };
    home.file("Library/Mail/V10/INBOX.mbox/Messages/1.emlx", 100);
    home.file("Library/Mail/V10/INBOX.mbox/Attachments/1/2/invoice.pdf", 300);
    home.file("Library/Mail/V10/Sent.mbox/Attachments/9/photo.jpg", 300);
    home.file("Library/Containers/com.apple.mail/Data/Library/Mail Downloads/A/report.xlsx", 50);
    home.file("Library/Containers/com.apple.mail/Data/Library/Mail Downloads/1/2/3/4/deep.txt", 5);
    home.file("Library/Containers/com.apple.mail/Data/Library/Mail Downloads/1/2/3/4/5/too-deep.txt", 5);
    home.file("Library/Containers/com.microsoft.Outlook/Data/tmp/Outlook Temp/skip/x.doc", 5);
    auto found = scan(&JunkFileFinderConfig::mailDownloadsFiles, "mailDownloadFound",
                      {library("Containers/com.microsoft.Outlook/Data/tmp/Outlook Temp/skip")});
    EXPECT_EQ(found,
              (std::vector<std::string>{
                  library("Containers/com.apple.mail/Data/Library/Mail Downloads/1/2/3/4/deep.txt"),
                  library("Containers/com.apple.mail/Data/Library/Mail Downloads/A/report.xlsx"),
                  library("Mail/V10/INBOX.mbox/Attachments"), library("Mail/V10/Sent.mbox/Attachments")}));
}

TEST_F(DownloadsTest, NoMailClientStillSendsTheEvent) {
    EXPECT_TRUE(scan(&JunkFileFinderConfig::mailDownloadsFiles, "mailDownloadFound").empty());
    auto events = analytics->eventsFor("mailDownload");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].params.at("num"), "0");
}

TEST_F(DownloadsTest, ScreenshotsOnlyInDesktopDownloadsAndDocuments) {
    home.file("Desktop/Screenshot 2025-02-01 at 09.41.07.png", 2000);
    home.file("Documents/Screen Recording 2025.mov", 3000);
    home.file("Downloads/private/Screenshot 1.png", 10);
    home.file("Pictures/Screenshot 2.png", 10);
    home.file("Desktop/holiday.png", 10);
    auto marked = home.file("Documents/capture.data", 10);
    ::setxattr(marked.c_str(), "user.com.apple.metadata:kMDItemIsScreenCapture", "1", 1, 0);
    auto found =
        scan(&JunkFileFinderConfig::screenshotFiles, "screenshotFound", {home.at("Downloads/private")});
    EXPECT_EQ(found,
              (std::vector<std::string>{home.at("Desktop/Screenshot 2025-02-01 at 09.41.07.png"), marked}));
    EXPECT_TRUE(recorder->cameOnMainThread("screenshotFound"));
    auto event = analytics->eventsFor("screenshot").at(0).params;
    EXPECT_EQ(event.at("num"), "2");
    EXPECT_EQ(event.at("size"), "2010");
}

TEST_F(DownloadsTest, DiskImagesOfTheHomeFolderInOneCallWithTheIndexSize) {
    home.file("Downloads/tool.dmg", 123456);
    home.file("Archive/old/Installer.DMG", 1000);
    home.file("Archive/skip/other.dmg", 1000);
    root.file("Applications/outside.dmg", 1000);
    auto found = scan(&JunkFileFinderConfig::dmgFiles, "diskImage", {home.at("Archive/skip")});
    EXPECT_EQ(found, (std::vector<std::string>{home.at("Archive/old/Installer.DMG"),
                                               home.at("Downloads/tool.dmg")}));
    EXPECT_EQ(recorder->count("diskImagesFound"), 1);
    auto event = analytics->eventsFor("dmg").at(0).params;
    EXPECT_EQ(event.at("size"), "124456");
}

} // namespace
