#include "dff/DuplicateFileFinder.h"

#include "tests/support/TempTree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

using namespace dff;
using core::testing::TempTree;

namespace {

// Long enough to be read in three stages: the first block, a thousand blocks, and the rest.
constexpr std::size_t threeStages = FileReader::blockSize * (1 + FileReader::blocksPerStage) + 5000;

class RaceProgressTest : public ::testing::TestWithParam<unsigned> {
protected:
    // Two twins of three stages each.
    void writeTwins() {
        tree.file("big/a", threeStages);
        tree.file("big/b", threeStages);
    }

    Groups find(DuplicateFileFinder& finder) {
        finder.rootFolders = {tree.path()};
        finder.threads = GetParam();
        Groups duplicates, similar;
        finder.find(duplicates, similar, false);
        return duplicates;
    }

    TempTree tree;
};

TEST_P(RaceProgressTest, ProgressStepsAtEveryStageOfEveryFileWhileTheRaceGoesOn) {
    writeTwins();
    // Equal in their first block, apart in their second and last stage.
    std::string nearMiss(9000, 'x');
    std::ofstream(tree.file("near/a"), std::ios::binary) << nearMiss;
    nearMiss[5000] = 'y';
    std::ofstream(tree.file("near/b"), std::ios::binary) << nearMiss;
    tree.file("single", 100);

    std::vector<double> progress;
    DuplicateFileFinder finder([&](double value) { progress.push_back(value); }, [](const Path&) {});
    Groups duplicates = find(finder);
    ASSERT_EQ(duplicates.size(), 1u);
    std::set<std::string> members;
    for (const File* file : duplicates.front())
        members.insert(file->path().str());
    EXPECT_EQ(members, (std::set<std::string>{tree.at("big/a"), tree.at("big/b")}));

    // One step for the single file, three for each twin, two for each near miss.
    const int fileCount = 1 + 5;
    const double step = 0.2 / fileCount;
    std::vector<double> expected = {0.3};
    double value = 0.3;
    for (int stage = 0; stage < 1 + 2 * 3 + 2 * 2; ++stage)
        expected.push_back(value = std::min(value + step, 0.5));
    expected.insert(expected.end(), {0.5, 0.55, 0.6, 0.8, 0.9});
    EXPECT_EQ(progress, expected);
}

TEST_P(RaceProgressTest, AStopAtTheFirstProgressOfALongRaceLeavesItsTwinsUnmatched) {
    writeTwins();
    DuplicateFileFinder* running = nullptr;
    std::vector<double> progress;
    DuplicateFileFinder finder(
        [&](double value) {
            progress.push_back(value);
            if (value > 0.3 && value < 0.5)
                running->stop();
        },
        [](const Path&) {});
    running = &finder;
    EXPECT_TRUE(find(finder).empty());
    // The stop came with the first stage, not once the twins had been read to their end.
    ASSERT_GE(progress.size(), 2u);
    EXPECT_DOUBLE_EQ(progress[1], 0.3 + 0.2 / 3);
}

// What the race tells its caller, in order: stages as they begin, then outcomes.
struct RaceLog {
    unsigned long stagesBefore = 0; // stages told before the first outcome
    unsigned long stages = 0;
    std::set<std::string> latest;
    std::vector<RaceOutcome::Kind> outcomes;
};

TEST_P(RaceProgressTest, EveryStageIsToldWithItsFileBeforeTheOutcomesItLedTo) {
    writeTwins();
    File a(tree.at("big/a"), threeStages, nullptr), b(tree.at("big/b"), threeStages, nullptr);
    SizeGroup twins = {&a, &b};
    std::atomic<bool> stopped{false};

    RaceLog log;
    SizeGroupRace({&twins}, stopped)
        .run(
            GetParam(), [&](const RaceOutcome& outcome) { log.outcomes.push_back(outcome.kind); },
            [&](unsigned long count, const File& latest) {
                log.stages += count;
                if (log.outcomes.empty())
                    log.stagesBefore += count;
                log.latest.insert(latest.path().str());
            });
    EXPECT_EQ(log.stages, 6u);
    EXPECT_EQ(log.stagesBefore, 6u);
    EXPECT_TRUE(log.latest.count(tree.at("big/b")));
    for (const auto& path : log.latest)
        EXPECT_TRUE(path == a.path().str() || path == b.path().str()) << path;
    EXPECT_EQ(log.outcomes, (std::vector<RaceOutcome::Kind>{RaceOutcome::finished, RaceOutcome::finished}));
    EXPECT_EQ(a.hash, b.hash);
}

INSTANTIATE_TEST_SUITE_P(Threads, RaceProgressTest, ::testing::Values(1u, 4u),
                         [](const auto& info) { return std::to_string(info.param) + "Threads"; });

} // namespace
