#include "dff/SizeGroupRace.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <thread>

namespace dff {
namespace {

// Below this many bytes a stage is read where it is: handing it to another thread costs more.
constexpr long long sharedStageLength = 256 << 10;

// A racing file's stage, opened to be read a chunk at a time; a failure marks the file unreadable
// and leaves it out of the rest of the stage.
struct OpenStage {
    RacingFile& record;
    std::optional<FileReader::Stage> stage;

    explicit OpenStage(RacingFile& record) : record(record) {
        try {
            stage.emplace(record.reader);
        } catch (const std::runtime_error&) {
            record.state = RacingFile::unreadable;
        }
    }
    long long next(const char*& data, int lane) {
        if (!stage)
            return 0;
        try {
            return stage->next(data, lane);
        } catch (const std::runtime_error&) {
            record.state = RacingFile::unreadable;
            stage.reset();
            return 0;
        }
    }
    void finish() {
        if (record.state == RacingFile::unreadable)
            return;
        record.hasher.hashValue(record.file->hash);
        record.state = record.reader.isCompleted() ? RacingFile::finished : RacingFile::racing;
    }
};

} // namespace

void RacingFile::readStage() {
    OpenStage open(*this);
    const char* data = nullptr;
    while (long long length = open.next(data, 0))
        hasher.update(data, length);
    open.finish();
}

void RacingFile::readStagePair(RacingFile& first, RacingFile& second) {
    OpenStage a(first), b(second);
    const char* dataA = nullptr;
    const char* dataB = nullptr;
    for (;;) {
        long long lengthA = a.next(dataA, 0), lengthB = b.next(dataB, 1);
        if (lengthA == 0 && lengthB == 0)
            break;
        if (lengthA == lengthB) {
            FileHasher::updatePair(first.hasher, dataA, second.hasher, dataB, lengthA);
            continue;
        }
        // One file failed or changed its length since the scan: each goes on alone.
        first.hasher.update(dataA, lengthA);
        second.hasher.update(dataB, lengthB);
    }
    a.finish();
    b.finish();
}

SizeGroupRace::SizeGroupRace(std::deque<RaceGroup> groups, const std::atomic<bool>& stopped)
    : groups_(std::move(groups)), stopped_(stopped) {}

unsigned SizeGroupRace::defaultThreads() {
    return std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
}

void SizeGroupRace::waitForChange(std::unique_lock<std::mutex>& guard) {
    ++idle_;
    changed_.wait(guard);
    --idle_;
}

// The files of a stage are read two by two, side by side; but when a large stage has just one pair
// and another thread has nothing to do, each of the two gets a thread.
void SizeGroupRace::readStage(RaceGroup& stage) {
    bool large = !stage.empty() && stage.front()->reader.stageLength() >= sharedStageLength;
    std::unique_lock<std::mutex> guard(lock_, std::defer_lock);
    bool split = false;
    if (large && stage.size() == 2) {
        guard.lock();
        split = idle_ > 0;
        guard.unlock();
    }
    unsigned pending = 0;
    std::vector<StageRead> reads;
    for (size_t i = 0; i < stage.size(); i += split ? 1 : 2)
        reads.push_back(
            {stage[i].get(), !split && i + 1 < stage.size() ? stage[i + 1].get() : nullptr, &pending});
    if (reads.size() < 2 || !large) {
        for (const auto& read : reads) {
            if (stopped_)
                return;
            read();
        }
        return;
    }
    guard.lock();
    sharedReads_.insert(sharedReads_.end(), reads.begin() + 1, reads.end());
    pending = static_cast<unsigned>(reads.size() - 1);
    changed_.notify_all();
    guard.unlock();
    reads.front()();
    guard.lock();
    while (pending > 0)
        if (!readSharedStage(guard))
            waitForChange(guard);
}

std::vector<RaceOutcome> SizeGroupRace::race(RaceGroup group) {
    std::vector<RaceOutcome> outcomes;
    unsigned stagesRead = 0;
    auto leave = [&](File* file, RaceOutcome::Kind kind) {
        outcomes.push_back({file, kind, stagesRead});
        stagesRead = 0;
    };
    std::vector<RaceGroup> pending;
    pending.push_back(std::move(group));
    while (!pending.empty()) {
        RaceGroup stage = std::move(pending.back());
        pending.pop_back();
        readStage(stage);
        Duplicate<HashValue, RacingFile*> local;
        RaceGroup racing;
        for (auto& record : stage) {
            File* file = record->file;
            if (stopped_) {
                file->unique = true;
                return outcomes;
            }
            ++stagesRead;
            if (record->state == RacingFile::finished) {
                leave(file, RaceOutcome::finished);
            } else if (record->state == RacingFile::unreadable) {
                leave(file, RaceOutcome::unreadable);
            } else {
                local.add(file->hash, record.get());
                racing.push_back(std::move(record));
            }
        }
        for (auto node = local.begin(); !node.done(); ++node) {
            if (node->values.size() == 1)
                leave(node->values.front()->file, RaceOutcome::alone);
            else
                pending.push_back(takeRacing(racing, node->values));
        }
    }
    return outcomes;
}

bool SizeGroupRace::raceUnclaimedGroup(std::unique_lock<std::mutex>& guard) {
    if (stopped_ || claimed_ == groups_.size())
        return false;
    size_t index = claimed_++;
    ++racing_;
    guard.unlock();
    // A claimed group always ends in its slot, if only at a stop, so that waiting for it ends.
    auto outcomes = race(std::move(groups_[groups_.size() - 1 - index]));
    guard.lock();
    slots_[index] = std::move(outcomes);
    raced_[index] = 1;
    --racing_;
    changed_.notify_all();
    return true;
}

bool SizeGroupRace::readSharedStage(std::unique_lock<std::mutex>& guard) {
    if (sharedReads_.empty())
        return false;
    StageRead read = sharedReads_.front();
    sharedReads_.pop_front();
    guard.unlock();
    read();
    guard.lock();
    --*read.pending;
    changed_.notify_all();
    return true;
}

// A helper thread reads shared stages first, as their racers wait for them, then races size groups
// nobody has claimed, and stays while any race may still share a stage.
void SizeGroupRace::help() {
    std::unique_lock<std::mutex> guard(lock_);
    for (;;) {
        if (readSharedStage(guard) || raceUnclaimedGroup(guard))
            continue;
        if (racing_ == 0)
            return;
        waitForChange(guard);
    }
}

void SizeGroupRace::run(unsigned threads, const std::function<void(const RaceOutcome&)>& deliver) {
    const size_t count = groups_.size();
    slots_.assign(count, {});
    raced_.assign(count, 0);
    std::vector<std::thread> helpers;
    for (unsigned i = 1; i < threads && count > 0; ++i)
        helpers.emplace_back([this] { help(); });

    // The calling thread hands out what is ready in order, and works whenever the next in order is
    // still on another thread.
    std::unique_lock<std::mutex> guard(lock_);
    for (size_t delivered = 0; delivered < count && !stopped_;) {
        if (raced_[delivered]) {
            auto outcomes = std::move(slots_[delivered++]);
            guard.unlock();
            for (const auto& outcome : outcomes)
                deliver(outcome);
            guard.lock();
        } else if (!readSharedStage(guard) && !raceUnclaimedGroup(guard)) {
            waitForChange(guard);
        }
    }
    guard.unlock();
    for (auto& helper : helpers)
        helper.join();
}

} // namespace dff
