// What the junk categories do with paths that are not what they seem: exclusions written loosely,
// folders that cannot be read, and links on a scanned volume that point at the host.
#include "Core/junk/JunkDiagnostics.h"

#include "tests/support/JunkScanRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <unistd.h>

using namespace core;
using namespace core::testing;

namespace {

class ScanConfinementTest : public JunkCategoryTest {
protected:
    std::vector<std::string> scanCaches(const std::vector<std::string>& excluded = {}) {
        return scan(&JunkFileFinderConfig::systemCaches, "systemCacheFound", excluded);
    }
    std::vector<std::string> unreadableLines() const {
        std::vector<std::string> lines;
        for (const auto& log : analytics->logs())
            if (log.text.rfind(unreadableFolderLogLine, 0) == 0 && log.level == 3)
                lines.push_back(log.text);
        return lines;
    }
};

TEST_F(ScanConfinementTest, ExclusionsWrittenLooselyStillExclude) {
    root.file("Library/Caches/keep", 1);
    for (const std::string name : {"slashes", "dot", "trailing", "dotdot"})
        root.file("Library/Caches/" + name, 1);
    auto caches = root.at("Library/Caches");
    auto found = scanCaches({root.path() + "//Library//Caches/slashes", caches + "/./dot",
                             caches + "/trailing/", caches + "/x/../dotdot"});
    EXPECT_EQ(found, (std::vector<std::string>{caches + "/keep"}));
}

TEST_F(ScanConfinementTest, AFolderThatCannotBeListedIsLoggedWithItsErrno) {
    // A file where the caches folder should be cannot be listed, whoever runs the test.
    root.file("Library/Caches", 10);
    EXPECT_TRUE(scanCaches().empty());
    EXPECT_EQ(unreadableLines(), (std::vector<std::string>{std::string(unreadableFolderLogLine) +
                                                           " errno=" + std::to_string(ENOTDIR) +
                                                           " path=" + root.at("Library/Caches")}));
}

TEST_F(ScanConfinementTest, AFolderThatIsNotThereIsNoFailure) {
    EXPECT_TRUE(scanCaches().empty());
    EXPECT_TRUE(unreadableLines().empty());
}

TEST_F(ScanConfinementTest, AnAbsoluteLinkOnTheVolumeIsFollowedInsideTheRoot) {
    TempTree host;
    host.file("Caches/host-file", 10);
    root.file("Volumes/data/Caches/volume-file", 10);
    root.folder("Library");
    ::symlink((host.path() + "/Caches").c_str(), root.at("Library/Caches").c_str());
    EXPECT_TRUE(scanCaches().empty());
    ::unlink(root.at("Library/Caches").c_str());
    ::symlink("/Volumes/data/Caches", root.at("Library/Caches").c_str());
    EXPECT_EQ(scanCaches(), (std::vector<std::string>{root.at("Volumes/data/Caches/volume-file")}));
}

TEST_F(ScanConfinementTest, DownloadsOutsideTheHomeFallBackAndAreLogged) {
    home.file("Downloads/mine", 5);
    root.file("elsewhere/not-mine", 5);
    std::ofstream(home.file(".config/user-dirs.dirs"))
        << "XDG_DOWNLOAD_DIR=\"" << root.at("elsewhere") << "\"\n";
    EXPECT_EQ(scan(&JunkFileFinderConfig::downloadsFiles, "downloadFileFound"),
              (std::vector<std::string>{home.at("Downloads/mine")}));
    auto logs = analytics->logs();
    EXPECT_TRUE(std::any_of(logs.begin(), logs.end(), [&](const auto& log) {
        return log.text == "[Downloads] refused_folder fallback=" + home.at("Downloads") +
                               " path=" + root.at("elsewhere") &&
               log.level == 3;
    }));
}

} // namespace
