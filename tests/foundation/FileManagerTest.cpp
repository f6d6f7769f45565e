#include "Core/foundation/FileManager.h"
#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileOperations.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace core;
using core::testing::allocatedBytes;
using core::testing::ScopedSystemPaths;
using core::testing::TempTree;

namespace {

std::vector<std::string> names(const std::vector<URLResource>& resources) {
    std::vector<std::string> listed;
    for (const auto& resource : resources)
        listed.push_back(*resource.resourceValues.name);
    std::sort(listed.begin(), listed.end());
    return listed;
}

void setTimes(const std::string& path, time_t seconds, long nanoseconds) {
    timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

TEST(Size, FileIsItsByteCountAndFolderItsAllocatedTree) {
    TempTree tree;
    auto a = tree.file("folder/a", 12345);
    auto b = tree.file("folder/sub/b", 100);
    EXPECT_EQ(size(URL::fileURL(a)), 12345);
    EXPECT_EQ(size(URL::fileURL(tree.at("folder"))), allocatedBytes(a) + allocatedBytes(b));
}

TEST(Size, MissingFileIsZero) {
    TempTree tree;
    EXPECT_EQ(size(URL::fileURL(tree.at("missing"))), 0);
}

TEST(Size, LinkCountsItselfNotItsTarget) {
    TempTree tree;
    auto target = tree.file("target", 50000);
    ::symlink(target.c_str(), tree.at("link").c_str());
    EXPECT_EQ(size(URL::fileURL(tree.at("link"))), static_cast<std::int64_t>(target.size()));
}

TEST(Size, CloudDriveFileCountsTheSpaceItTakes) {
    TempTree home;
    ScopedSystemPaths scoped("/", home.path());
    auto placeholder = home.file("Library/Mobile Documents/com~apple~CloudDocs/movie.mov");
    auto local = home.file("Documents/movie.mov");
    for (const auto& path : {placeholder, local})
        ASSERT_EQ(::truncate(path.c_str(), 10'000'000), 0);
    EXPECT_EQ(size(URL::fileURL(placeholder)), allocatedBytes(placeholder));
    EXPECT_LT(size(URL::fileURL(placeholder)), 10'000'000);
    EXPECT_EQ(size(URL::fileURL(local)), 10'000'000);
}

TEST(Size, FolderUnderAnInterruptedContextIsZero) {
    TempTree tree;
    tree.file("folder/a", 5000);
    auto context = FileFinderContext::make([](URL) {});
    context->interrupt();
    std::int64_t measured = -1;
    auto queue = DispatchQueue::makeSerial("test.size");
    context->async(queue, [] {});
    queue->sync([&] { measured = size(URL::fileURL(tree.at("folder"))); });
    EXPECT_EQ(measured, 0);
}

TEST(URLResources, ListsHiddenEntriesButNeverDSStore) {
    TempTree tree;
    tree.file("dir/.hidden", 1);
    tree.file("dir/.DS_Store", 1);
    tree.file("dir/visible", 3);
    tree.folder("dir/sub");
    std::error_code error;
    auto listed = urlResources(URL::fileURL(tree.at("dir")), URLFileSizeKey | URLIsDirectoryKey, error);
    EXPECT_FALSE(error);
    EXPECT_EQ(names(listed), (std::vector<std::string>{".hidden", "sub", "visible"}));
    for (const auto& entry : listed) {
        bool folder = entry.url.lastPathComponent() == "sub";
        EXPECT_EQ(entry.resourceValues.isDirectory, folder);
        EXPECT_EQ(entry.resourceValues.fileSize.has_value(), !folder);
        EXPECT_EQ(entry.url.deletingLastPathComponent().path(), tree.at("dir"));
    }
}

TEST(URLResources, UnreadableFolderIsAnError) {
    TempTree tree;
    std::error_code error;
    EXPECT_TRUE(urlResources(URL::fileURL(tree.at("missing")), URLNameKey, error).empty());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    tree.file("plain", 1);
    error.clear();
    urlResources(URL::fileURL(tree.at("plain")), URLNameKey, error);
    EXPECT_EQ(error, std::errc::not_a_directory);
}

TEST(URLResources, InterruptedContextListsNothing) {
    TempTree tree;
    tree.file("dir/a", 1);
    auto context = FileFinderContext::make([](URL) {});
    auto queue = DispatchQueue::makeSerial("test.listing");
    std::size_t before = 0, after = 1;
    context->async(queue, [&] {
        std::error_code error;
        before = urlResources(URL::fileURL(tree.at("dir")), URLNameKey, error).size();
    });
    queue->sync([] {});
    context->interrupt();
    queue->sync([&] {
        std::error_code error;
        after = urlResources(URL::fileURL(tree.at("dir")), URLNameKey, error).size();
    });
    EXPECT_EQ(before, 1u);
    EXPECT_EQ(after, 0u);
}

TEST(FileOperations, DatesAreWholeSecondsAndCachedForTheProcess) {
    TempTree tree;
    auto path = tree.file("dated", 1);
    setTimes(path, 1'600'000'000, 999'000'000);
    EXPECT_EQ(FileOperations::getLastModificationDateOfFile(path), 1'600'000'000);
    EXPECT_EQ(FileOperations::getLastOpenDateOfFile(path), 1'600'000'000);
    setTimes(path, 1'700'000'000, 0);
    EXPECT_EQ(FileOperations::getLastModificationDateOfFile(path), 1'600'000'000);
    EXPECT_EQ(FileOperations::getLastOpenDateOfFile(path), 1'600'000'000);
    EXPECT_TRUE(FileOperations::getLastChangeDateOfFile(path).has_value());
}

TEST(FileOperations, UnreadableFileHasNoDateAndIsAskedAgain) {
    TempTree tree;
    auto path = tree.at("later");
    EXPECT_FALSE(FileOperations::getLastModificationDateOfFile(path).has_value());
    tree.file("later", 1);
    setTimes(path, 1'500'000'000, 0);
    EXPECT_EQ(FileOperations::getLastModificationDateOfFile(path), 1'500'000'000);
}

TEST(FileOperations, SpecialFilesAndMissingPathsAreSpecial) {
    TempTree tree;
    auto plain = tree.file("plain", 1);
    ::mkfifo(tree.at("fifo").c_str(), 0600);
    EXPECT_FALSE(FileOperations::isSpecialFileType(plain));
    EXPECT_FALSE(FileOperations::isSpecialFileType(tree.path()));
    EXPECT_TRUE(FileOperations::isSpecialFileType(tree.at("fifo")));
    EXPECT_TRUE(FileOperations::isSpecialFileType(tree.at("missing")));
    EXPECT_FALSE(FileOperations::getStatWith(tree.at("missing")).has_value());
    EXPECT_EQ(FileOperations::getStatWith(plain)->size, 1);
}

TEST(IsTrashBinPath, TheTrashItselfButNothingInside) {
    TempTree home;
    ScopedSystemPaths scoped("/", home.path());
    auto trash = home.folder(".local/share/Trash/files");
    home.file(".local/share/Trash/files/old.txt", 1);
    EXPECT_TRUE(isTrashBinPath(trash));
    EXPECT_FALSE(isTrashBinPath(trash + "/old.txt"));
    EXPECT_FALSE(isTrashBinPath(home.at(".Trash")));
}

} // namespace
