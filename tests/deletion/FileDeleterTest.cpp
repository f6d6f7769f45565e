#include "Core/deletion/TWFileDeleter.h"
#include "Core/platform/Process.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#include <unistd.h>

using namespace core;
using core::testing::entryExists;
using core::testing::TempTree;

namespace {

// The reports of a file deleter, which come on its own queue.
struct Reports : TWFileDeleterDelegate {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::pair<std::string, int>> deleted;
    int scripts = 0;
    int completions = 0;

    void fileDeleterCurrent(const std::string&) override {}
    void fileDeleterDeleted(const std::string& path, std::int32_t error) override {
        std::lock_guard lock(mutex);
        deleted.emplace_back(path, error);
    }
    void scriptDeleted() override {
        std::lock_guard lock(mutex);
        ++scripts;
    }
    void fileDeleterCompleted() override {
        std::lock_guard lock(mutex);
        ++completions;
        changed.notify_all();
    }
    bool waitForCompletion() {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), [&] { return completions > 0; });
    }
};

struct FileDeletion {
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<TWFileDeleter> deleter;
    explicit FileDeletion(std::vector<std::string> paths, std::vector<std::string> scripts = {})
        : deleter(TWFileDeleter::initWithPaths(std::move(paths), std::move(scripts))) {
        deleter->delegate = reports;
    }
};

// A command-table entry that writes its arguments to a log, then does what the real tool does.
struct RecordingCommand {
    TempTree folder;
    std::string command;
    std::string log = folder.at("calls.log");
    RecordingCommand(std::string commandPath, const std::string& realTool) : command(std::move(commandPath)) {
        std::string script = folder.at("tool.sh");
        std::ofstream(script) << "#!/bin/sh\necho \"$@\" >> '" << log << "'\nexec " << realTool
                              << " \"$@\"\n";
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        CommandTable::shared().setReplacement(command, script);
    }
    ~RecordingCommand() { CommandTable::shared().setReplacement(command, ""); }
    std::string calls() const {
        std::ifstream in(log);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

TEST(FileDeleter, AnEmptyListCompletesAtOnce) {
    FileDeletion deletion({});
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_TRUE(deletion.reports->deleted.empty());
}

TEST(FileDeleter, APauseInsideAFolderLeavesItForTheNextStart) {
    TempTree tree;
    tree.file("top/a/x", 10);
    tree.file("top/b/y", 10);
    FileDeletion deletion({tree.at("top")});
    std::atomic<bool> paused{false};
    deletion.deleter->setBeforeEnteringForTesting([&](const std::string& path) {
        if (!paused && path == tree.at("top/b")) {
            paused = true;
            deletion.deleter->pause();
        }
    });
    deletion.deleter->start();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    {
        std::lock_guard lock(deletion.reports->mutex);
        EXPECT_TRUE(deletion.reports->deleted.empty());
        EXPECT_EQ(deletion.reports->completions, 0);
    }
    EXPECT_TRUE(paused);
    EXPECT_TRUE(entryExists(tree.at("top")));
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_EQ(deletion.reports->deleted, (std::vector<std::pair<std::string, int>>{{tree.at("top"), 0}}));
    EXPECT_FALSE(entryExists(tree.at("top")));
}

TEST(FileDeleter, AStopWhilePausedCompletesAndTouchesNothingMore) {
    TempTree tree;
    auto first = tree.file("first", 10);
    tree.file("second/x", 10);
    FileDeletion deletion({first, tree.at("second")});
    deletion.deleter->setBeforeEnteringForTesting([&](const std::string&) { deletion.deleter->pause(); });
    deletion.deleter->start();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    deletion.deleter->stop();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_TRUE(entryExists(first));
    EXPECT_EQ(deletion.reports->completions, 1);
}

TEST(FileDeleter, AFolderSwappedForALinkDuringTheWalkFailsAndItsTargetSurvives) {
    TempTree tree;
    auto precious = tree.file("precious/data", 10);
    tree.file("top/inner/x", 10);
    FileDeletion deletion({tree.at("top")});
    deletion.deleter->setBeforeEnteringForTesting([&](const std::string& path) {
        if (path == tree.at("top/inner")) {
            std::filesystem::rename(path, tree.at("moved"));
            ::symlink(tree.at("precious").c_str(), path.c_str());
        }
    });
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    ASSERT_EQ(deletion.reports->deleted.size(), 1u);
    EXPECT_NE(deletion.reports->deleted[0].second, 0);
    EXPECT_TRUE(entryExists(precious));
}

TEST(FileDeleter, LinksInsideAFolderGoButTheirTargetsStay) {
    TempTree tree;
    auto outside = tree.file("outside/keep", 10);
    tree.folder("top");
    ::symlink(tree.at("outside").c_str(), tree.at("top/toFolder").c_str());
    ::symlink(outside.c_str(), tree.at("top/toFile").c_str());
    FileDeletion deletion({tree.at("top")});
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_FALSE(entryExists(tree.at("top")));
    EXPECT_TRUE(entryExists(outside));
}

TEST(FileDeleter, AnImmutableFileIsUnlockedThenRemoved) {
    TempTree tree;
    auto file = tree.file("locked", 10);
    if (std::system(("chattr +i '" + file + "' 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "setting the immutable flag needs root and a file system that keeps it";
    FileDeletion deletion({file});
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_EQ(deletion.reports->deleted, (std::vector<std::pair<std::string, int>>{{file, 0}}));
    EXPECT_FALSE(entryExists(file));
}

TEST(FileDeleter, AnImmutableFileInsideAFolderIsUnlockedThenRemoved) {
    TempTree tree;
    auto file = tree.file("top/locked", 10);
    if (std::system(("chattr +i '" + file + "' 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "setting the immutable flag needs root and a file system that keeps it";
    FileDeletion deletion({tree.at("top")});
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_EQ(deletion.reports->deleted, (std::vector<std::pair<std::string, int>>{{tree.at("top"), 0}}));
    EXPECT_FALSE(entryExists(tree.at("top")));
}

TEST(FileDeleter, ShreddingLeavesApplicationBundlesToTheRemoverUnshredded) {
    TempTree tree;
    auto inBundle = tree.file("top/Tool.app/Contents/MacOS/tool", 5000);
    auto plain = tree.file("top/notes", 5000);
    std::string bundleContent(5000, 'x');
    int bundleFile = ::open(inBundle.c_str(), O_RDONLY);
    int plainFile = ::open(plain.c_str(), O_RDONLY);
    RecordingCommand remover("/bin/rm", "/bin/rm");
    FileDeletion deletion({tree.at("top")});
    deletion.deleter->isShredder = true;
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_FALSE(entryExists(tree.at("top")));
    EXPECT_EQ(remover.calls(), "-rf --one-file-system -- " + tree.at("top/Tool.app") + "\n");
    std::string seen(5000, '\0');
    ASSERT_EQ(::pread(bundleFile, seen.data(), seen.size(), 0), 5000);
    EXPECT_EQ(seen, bundleContent);
    ASSERT_EQ(::pread(plainFile, seen.data(), seen.size(), 0), 5000);
    EXPECT_NE(seen, bundleContent);
    ::close(bundleFile);
    ::close(plainFile);
}

TEST(FileDeleter, ScriptsRunAfterThePaths) {
    TempTree tree;
    auto marker = tree.at("ran");
    FileDeletion deletion({}, {"touch '" + marker + "'"});
    deletion.deleter->start();
    ASSERT_TRUE(deletion.reports->waitForCompletion());
    EXPECT_EQ(deletion.reports->scripts, 1);
    for (int wait = 0; wait < 100 && !entryExists(marker); ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(entryExists(marker));
}

} // namespace
