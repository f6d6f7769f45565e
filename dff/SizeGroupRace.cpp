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

void SizeGroupRace::StageRead::operator()() const {
    race->beginStage(first->file);
    if (!second)
        return first->readStage();
    race->beginStage(second->file);
    RacingFile::readStagePair(*first, *second);
}

SizeGroupRace::SizeGroupRace(std::vector<const SizeGroup*> groups, const std::atomic<bool>& stopped)
    : groups_(std::move(groups)), stopped_(stopped) {}

unsigned SizeGroupRace::defaultThreads() {
    return std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
}

// The caller tells what began before it sleeps; a stage begun after that wakes it.
void SizeGroupRace::waitForChange(std::unique_lock<std::mutex>& guard) {
    if (isCaller()) {
        callerWaiting_ = true;
        if (stagesBegun_ != stagesTold_) {
            callerWaiting_ = false;
            guard.unlock();
            tellStagesBegun();
            guard.lock();
            return;
        }
    }
    ++idle_;
    changed_.wait(guard);
    --idle_;
    if (isCaller())
        callerWaiting_ = false;
}

void SizeGroupRace::beginStage(const File* file) {
    latest_ = file;
    ++stagesBegun_;
    if (isCaller())
        return tellStagesBegun();
    if (callerWaiting_) {
        std::lock_guard<std::mutex> guard(lock_);
        changed_.notify_all();
    }
}

void SizeGroupRace::tellStagesBegun() {
    unsigned long begun = stagesBegun_;
    if (begun == stagesTold_ || stopped_)
        return;
    begun_(begun - stagesTold_, *latest_.load());
    stagesTold_ = begun;
}

bool SizeGroupRace::isLarge(const RaceGroup& group) {
    return !group.empty() && group.front()->reader.stageLength() >= sharedStageLength;
}

void SizeGroupRace::share(std::function<void()> work, unsigned& pending) {
    shared_.push_back({std::move(work), &pending});
    ++pending;
    changed_.notify_all();
}

void SizeGroupRace::finishShared(std::unique_lock<std::mutex>& guard, const unsigned& pending) {
    while (pending > 0)
        if (!doSharedWork(guard))
            waitForChange(guard);
}

// The files of a stage are read two by two, side by side; but when a large stage has just one pair
// and another thread has nothing to do, not even shared work waiting, each of the two gets a
// thread.
void SizeGroupRace::readStage(RaceGroup& stage) {
    bool large = isLarge(stage);
    std::unique_lock<std::mutex> guard(lock_, std::defer_lock);
    bool split = false;
    if (large && stage.size() == 2) {
        guard.lock();
        split = idle_ > shared_.size();
        guard.unlock();
    }
    std::vector<StageRead> reads;
    for (size_t i = 0; i < stage.size(); i += split ? 1 : 2)
        reads.push_back(
            {this, stage[i].get(), !split && i + 1 < stage.size() ? stage[i + 1].get() : nullptr});
    if (reads.size() < 2 || !large) {
        for (const auto& read : reads) {
            if (stopped_)
                return;
            read();
        }
        return;
    }
    unsigned pending = 0;
    guard.lock();
    for (size_t i = 1; i < reads.size(); ++i)
        share(reads[i], pending);
    guard.unlock();
    reads.front()();
    guard.lock();
    finishShared(guard, pending);
}

SizeGroupRace::Outcomes SizeGroupRace::race(RaceGroup group) {
    Outcomes outcomes;
    raceInto(std::move(group), outcomes);
    return outcomes;
}

void SizeGroupRace::raceInto(RaceGroup group, Outcomes& outcomes) {
    for (;;) {
        readStage(group);
        Duplicate<HashValue, RacingFile*> local;
        RaceGroup racing;
        for (auto& record : group) {
            File* file = record->file;
            if (stopped_) {
                file->unique = true;
                return;
            }
            if (record->state == RacingFile::finished) {
                outcomes.push_back({file, RaceOutcome::finished});
            } else if (record->state == RacingFile::unreadable) {
                outcomes.push_back({file, RaceOutcome::unreadable});
            } else {
                local.add(file->hash, record.get());
                racing.push_back(std::move(record));
            }
        }
        std::vector<RaceGroup> subgroups;
        for (auto node = local.begin(); !node.done(); ++node) {
            if (node->values.size() == 1)
                outcomes.push_back({node->values.front()->file, RaceOutcome::alone});
            else
                subgroups.push_back(takeRacing(racing, node->values));
        }
        if (subgroups.empty())
            return;
        if (subgroups.size() > 1)
            return raceSubgroups(subgroups, outcomes);
        group = std::move(subgroups.front());
    }
}

// Subgroups race from the last to the first, each to its end. While the last races here, the large
// ones after it in turn are offered to other threads; their outcomes are taken in their turn, and
// one nobody took by then is raced here.
void SizeGroupRace::raceSubgroups(std::vector<RaceGroup>& subgroups, Outcomes& outcomes) {
    struct HandedOff {
        RaceGroup group;
        Outcomes outcomes;
        unsigned pending = 0;
    };
    std::vector<std::unique_ptr<HandedOff>> handedOff(subgroups.size());
    std::unique_lock<std::mutex> guard(lock_);
    for (size_t k = subgroups.size() - 1; k-- > 0;) {
        if (!isLarge(subgroups[k]))
            continue;
        auto& away = handedOff[k] = std::make_unique<HandedOff>();
        away->group = std::move(subgroups[k]);
        share([this, to = away.get()] { to->outcomes = race(std::move(to->group)); }, away->pending);
    }
    guard.unlock();
    for (size_t k = subgroups.size(); k-- > 0;) {
        if (!handedOff[k]) {
            if (!stopped_)
                raceInto(std::move(subgroups[k]), outcomes);
            continue;
        }
        guard.lock();
        finishShared(guard, handedOff[k]->pending);
        guard.unlock();
        outcomes.insert(outcomes.end(), handedOff[k]->outcomes.begin(), handedOff[k]->outcomes.end());
    }
}

bool SizeGroupRace::raceUnclaimedGroup(std::unique_lock<std::mutex>& guard) {
    if (stopped_ || claimed_ == groups_.size())
        return false;
    size_t index = claimed_++;
    ++racing_;
    guard.unlock();
    // A claimed group always ends in its slot, if only at a stop, so that waiting for it ends.
    RaceGroup group;
    for (File* file : *groups_[groups_.size() - 1 - index])
        group.push_back(std::make_unique<RacingFile>(file));
    auto outcomes = race(std::move(group));
    guard.lock();
    slots_[index] = std::move(outcomes);
    raced_[index] = 1;
    --racing_;
    changed_.notify_all();
    return true;
}

bool SizeGroupRace::doSharedWork(std::unique_lock<std::mutex>& guard) {
    if (shared_.empty())
        return false;
    SharedWork shared = std::move(shared_.front());
    shared_.pop_front();
    guard.unlock();
    shared.work();
    guard.lock();
    --*shared.pending;
    changed_.notify_all();
    return true;
}

// A helper thread does shared work first, as its racers wait for it, then races size groups nobody
// has claimed, and stays while any race may still share work.
void SizeGroupRace::help() {
    std::unique_lock<std::mutex> guard(lock_);
    for (;;) {
        if (doSharedWork(guard) || raceUnclaimedGroup(guard))
            continue;
        if (racing_ == 0)
            return;
        waitForChange(guard);
    }
}

void SizeGroupRace::run(unsigned threads, const std::function<void(const RaceOutcome&)>& deliver,
                        StagesBegun begun) {
    const size_t count = groups_.size();
    caller_ = std::this_thread::get_id();
    begun_ = std::move(begun);
    slots_.assign(count, {});
    raced_.assign(count, 0);
    std::vector<std::thread> helpers;
    for (unsigned i = 1; i < threads && count > 0; ++i)
        helpers.emplace_back([this] { help(); });

    // The calling thread hands out what is ready in order, and works whenever the next in order is
    // still on another thread.
    std::unique_lock<std::mutex> guard(lock_);
    for (size_t delivered = 0; delivered < count && !stopped_;) {
        if (raced_[delivered] && stagesBegun_ != stagesTold_) {
            // The stages come before the outcomes they led to, wherever they were read, so that a
            // stop they bring about drops those outcomes.
            guard.unlock();
            tellStagesBegun();
            guard.lock();
        } else if (raced_[delivered]) {
            auto outcomes = std::move(slots_[delivered++]);
            guard.unlock();
            for (const auto& outcome : outcomes)
                deliver(outcome);
            guard.lock();
        } else if (!doSharedWork(guard) && !raceUnclaimedGroup(guard)) {
            waitForChange(guard);
        }
    }
    guard.unlock();
    for (auto& helper : helpers)
        helper.join();
    tellStagesBegun();
}

} // namespace dff
