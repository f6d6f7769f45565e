#include "Core/junk/JunkFileFinder.h"
#include "Core/junk/SystemJunkScanner.h"

#include "tests/support/JunkScanRecorder.h"
#include "tests/support/RecordingAnalytics.h"
#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/stat.h>

using namespace core;
using namespace core::testing;

namespace {

std::vector<std::string> sorted(std::vector<std::string> paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
}

class SystemJunkTest : public JunkCategoryTest {
protected:
    std::vector<std::string> scanCaches(std::vector<std::string> excluded = {}) {
        return scan(&JunkFileFinderConfig::systemCaches, "systemCacheFound", excluded);
    }
    std::vector<std::string> scanLogs(std::vector<std::string> excluded = {}) {
        return scan(&JunkFileFinderConfig::systemLogs, "systemLogFound", excluded);
    }
    std::string caches(const std::string& name) const { return root.at("Library/Caches/" + name); }
    std::string varLog(const std::string& name) const { return root.at("private/var/log/" + name); }
};

TEST_F(SystemJunkTest, CachesAreTopLevelEntriesSizedAsTheUserCountsThem) {
    auto inside = root.file("Library/Caches/com.example.app/data/blob", 20000);
    root.file("Library/Caches/loose.db", 1234);
    auto found = scanCaches();
    EXPECT_EQ(found, (std::vector<std::string>{caches("com.example.app"), caches("loose.db")}));
    for (const auto& file : recorder->files("systemCacheFound"))
        EXPECT_EQ(file.size, file.url.lastPathComponent() == "loose.db" ? 1234 : allocatedBytes(inside));
    EXPECT_TRUE(recorder->cameOnMainThread("systemCacheFound"));
    auto events = analytics->eventsFor("systemCache");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].params.at("num"), "2");
    EXPECT_EQ(events[0].params.at("size"), std::to_string(1234 + allocatedBytes(inside)));
    EXPECT_GE(std::stod(events[0].params.at("duration")), 0.0);
}

TEST_F(SystemJunkTest, SparedNamesMatchCaseSensitively) {
    for (const auto* name : {"CrashPlan", "ColorSync", "Desktop Pictures", "com.apple.aned", "crashplan"})
        root.file(std::string("Library/Caches/") + name, 1);
    root.file("Library/Caches/.DS_Store", 1);
    EXPECT_EQ(scanCaches(), (std::vector<std::string>{caches("crashplan")}));
}

TEST_F(SystemJunkTest, FolderWithAnExcludedFileDeepInsideIsReportedInPieces) {
    root.file("Library/Caches/Foo/Bar/baz", 10);
    root.file("Library/Caches/Foo/Bar/qux", 10);
    root.file("Library/Caches/Foo/keep", 10);
    root.file("Library/Caches/Foo/Other/x", 10);
    root.file("Library/Caches/Plain", 10);
    auto found = scanCaches({caches("Foo/Bar/baz")});
    EXPECT_EQ(found,
              sorted({caches("Foo/Bar/qux"), caches("Foo/keep"), caches("Foo/Other"), caches("Plain")}));
}

TEST_F(SystemJunkTest, ExcludedFolderIsLeftOutWhole) {
    root.file("Library/Caches/Foo/a", 10);
    root.file("Library/Caches/Foobar/b", 10);
    EXPECT_EQ(scanCaches({caches("Foo")}), (std::vector<std::string>{caches("Foobar")}));
}

TEST_F(SystemJunkTest, ExcludedPathThatNoLongerExistsDoesNotSplit) {
    root.file("Library/Caches/Foo/a", 10);
    EXPECT_EQ(scanCaches({caches("Foo/gone")}), (std::vector<std::string>{caches("Foo")}));
}

TEST_F(SystemJunkTest, ShortestOfSeveralExcludedPathsShapesThePieces) {
    root.file("Library/Caches/Foo/a/deep/x", 10);
    root.file("Library/Caches/Foo/a/deep/y", 10);
    root.file("Library/Caches/Foo/b", 10);
    auto found = scanCaches({caches("Foo/a/deep/x"), caches("Foo/b")});
    EXPECT_EQ(found, (std::vector<std::string>{caches("Foo/a")}));
}

TEST_F(SystemJunkTest, SymbolicationCacheIsAddedWithoutTheExclusionTest) {
    auto symbolication = root.file("System/Library/Caches/com.apple.coresymbolicationd/data", 3000);
    auto found = scanCaches({root.at("System/Library/Caches/com.apple.coresymbolicationd")});
    EXPECT_EQ(found,
              (std::vector<std::string>{root.at("System/Library/Caches/com.apple.coresymbolicationd")}));
}

TEST_F(SystemJunkTest, EmptyMachineSendsEventsWithNothingCounted) {
    scanCaches();
    scanLogs();
    for (const auto* part : {"systemCache", "systemLog"}) {
        auto events = analytics->eventsFor(part);
        ASSERT_EQ(events.size(), 1u) << part;
        EXPECT_EQ(events[0].params.at("num"), "0");
        EXPECT_EQ(events[0].params.at("size"), "0");
    }
}

TEST_F(SystemJunkTest, LogsComeFromLibraryLogsDiagnosticsAndRotatedVarLogs) {
    root.file("Library/Logs/DiagnosticReports/app.crash", 5000);
    root.file("Library/Logs/keep.log", 10);
    auto diagnostics = root.file("private/var/db/diagnostics/Persist/0001.tracev3", 8000);
    for (const auto* name : {"system.log", "system.log0.gz", "install.log", "wifi-2021.log", "fsck_hfs.1.log",
                             "asl", "DiagnosticMessages", "daily.out"})
        root.file(std::string("private/var/log/") + name, 100);
    for (const auto* name : {"system.log.0.gz", "wifi.log.1", "daily.out.1", "systemstats.log", "kernel.log"})
        root.file(std::string("private/var/log/") + name, 100);
    auto found = scanLogs({root.at("Library/Logs/keep.log")});
    EXPECT_EQ(found, sorted({root.at("Library/Logs/DiagnosticReports"), root.at("private/var/db/diagnostics"),
                             varLog("system.log"), varLog("system.log0.gz"), varLog("install.log"),
                             varLog("wifi-2021.log"), varLog("fsck_hfs.1.log"), varLog("asl"),
                             varLog("DiagnosticMessages"), varLog("daily.out")}));
    for (const auto& file : recorder->files("systemLogFound"))
        if (file.url.lastPathComponent() == "diagnostics") {
            EXPECT_EQ(file.size, allocatedBytes(diagnostics));
        }
    auto events = analytics->eventsFor("systemLog");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].params.at("num"), "10");
}

TEST(VarLogNames, FollowTheStemPattern) {
    for (const auto* taken : {"wifi.log", "system.log0.gz", "install.log", "wifi-2021.log", "fsck_hfs.1.log",
                              "fsck_apfs_error.log", "asl", "daily.out", "DiagnosticMessages"})
        EXPECT_TRUE(SystemJunkScanner::isRemovableVarLogName(taken)) << taken;
    for (const auto* left : {"wifi.log.1", "system.log.0.gz", "systemstats.log", "daily.out.1", "System.log",
                             "install.logs", "xsystem.log"})
        EXPECT_FALSE(SystemJunkScanner::isRemovableVarLogName(left)) << left;
}

} // namespace
