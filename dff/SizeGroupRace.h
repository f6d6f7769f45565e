// The staged race of the files of each size group, run on several threads at once.
//
// A size group races on its own from its first block to its end, depth first: its subgroups are
// worked before the next size group. So the races of two size groups never share a file or a
// tree, and each can run on a thread of its own, its files touched only by that thread. What the
// shared digest tree, the similarity tree and progress are to learn is written down as outcomes
// and handed out on the calling thread in the order a single thread would have produced it: the
// groups and their members come out the same whatever the number of threads.
//
// Hashing is the cost of a search, and one MD5 stream is bound to one core. Within one stage the
// files of a group are independent too: they are read two by two and digested side by side. Work
// with long reads ahead is offered to threads that have no size group left to race: the
// subgroups a size group splits into, each raced to its end and its outcomes taken in its turn,
// and the pairs of one large stage, so that a few large files still use every core.
#pragma once

#include "dff/Duplicate.h"
#include "dff/FileReader.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace dff {

// One file racing its size group: where it has read to, its running digest, and how its last
// stage went.
struct RacingFile {
    enum State : unsigned char { racing, finished, unreadable };
    explicit RacingFile(File* file) : file(file), reader(file) {}
    // Reads and digests the next stage, the digest going to the file's `hash`.
    void readStage();
    // The same for two files of one size, read side by side and digested together.
    static void readStagePair(RacingFile& first, RacingFile& second);
    File* file;
    FileReader reader;
    FileHasher hasher;
    State state = racing;
};

using RaceGroup = std::vector<std::unique_ptr<RacingFile>>;

// The files of one size, as the size tree chains them.
using SizeGroup = std::vector<File*>;

// The records of one digest node, taken out of a stage's racing list in chain order, to race on as
// a group of their own. Files and packages race alike.
template <class T>
std::vector<std::unique_ptr<T>> takeRacing(std::vector<std::unique_ptr<T>>& racing,
                                           const std::vector<T*>& members) {
    std::vector<std::unique_ptr<T>> group;
    group.reserve(members.size());
    for (T* member : members) {
        auto owned = std::find_if(racing.begin(), racing.end(),
                                  [&](const auto& held) { return held.get() == member; });
        group.push_back(std::move(*owned));
    }
    return group;
}

// How a file left the race.
struct RaceOutcome {
    enum Kind : unsigned char {
        finished,   // read to its end: its digest is final and it joins the digest tree
        alone,      // its digest stood alone at a stage: it has no twin
        unreadable, // a stage failed: it cannot be compared
    };
    File* file;
    Kind kind;
};

// Told on the calling thread: `count` file stages have begun since the last call, the latest of
// them a stage of `latest`.
using StagesBegun = std::function<void(unsigned long count, const File& latest)>;

class SizeGroupRace {
public:
    // `groups` in the order the size tree is walked; the last is raced first. A group's racing
    // records are made when its race begins, so that only the groups racing hold them.
    SizeGroupRace(std::vector<const SizeGroup*> groups, const std::atomic<bool>& stopped);

    // Races every group on up to `threads` threads, the calling one included, and hands each
    // outcome to `deliver` and the stages as they begin to `begun`, both on the calling thread.
    // After a stop, outcomes still unhanded are dropped and the files still racing keep no final
    // digest.
    void run(unsigned threads, const std::function<void(const RaceOutcome&)>& deliver, StagesBegun begun);

    // The number of threads a search uses: the cores, up to four.
    static unsigned defaultThreads();

private:
    // The stage of one or two files.
    struct StageRead {
        SizeGroupRace* race;
        RacingFile* first;
        RacingFile* second; // null when the stage's files are odd in number
        void operator()() const;
    };
    // Work handed to whichever thread is free; `pending` counts what its owner still waits for.
    struct SharedWork {
        std::function<void()> work;
        unsigned* pending;
    };
    // What a race found so far, in order.
    using Outcomes = std::vector<RaceOutcome>;

    Outcomes race(RaceGroup group);
    void raceInto(RaceGroup group, Outcomes& outcomes);
    void raceSubgroups(std::vector<RaceGroup>& subgroups, Outcomes& outcomes);
    void readStage(RaceGroup& stage);
    // Whether the group's next stage is worth handing to another thread.
    static bool isLarge(const RaceGroup& group);
    // These take the lock held, and may let it go while they work.
    void share(std::function<void()> work, unsigned& pending);
    void finishShared(std::unique_lock<std::mutex>& guard, const unsigned& pending);
    bool doSharedWork(std::unique_lock<std::mutex>& guard);
    bool raceUnclaimedGroup(std::unique_lock<std::mutex>& guard);
    void waitForChange(std::unique_lock<std::mutex>& guard);
    void help();
    // Counts a stage of `file` as begun, on any thread, and has the calling thread tell it.
    void beginStage(const File* file);
    // On the calling thread: tells what began since it last told, if anything did.
    void tellStagesBegun();
    bool isCaller() const { return std::this_thread::get_id() == caller_; }

    std::vector<const SizeGroup*> groups_;
    const std::atomic<bool>& stopped_;
    std::mutex lock_;
    std::condition_variable changed_;
    // Under the lock: slot i holds the outcomes of the i-th group to race, the i-th from the back.
    std::vector<std::vector<RaceOutcome>> slots_;
    std::vector<char> raced_;
    size_t claimed_ = 0;
    unsigned racing_ = 0;
    unsigned idle_ = 0; // threads waiting for work
    std::deque<SharedWork> shared_;
    std::thread::id caller_;
    StagesBegun begun_;
    // Written by every racing thread; read with `callerWaiting_` so that a stage begun elsewhere
    // either is seen by the caller before it waits, or wakes it.
    std::atomic<unsigned long> stagesBegun_{0};
    std::atomic<const File*> latest_{nullptr};
    std::atomic<bool> callerWaiting_{false};
    unsigned long stagesTold_ = 0; // the caller's own
};

} // namespace dff
