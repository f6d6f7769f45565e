#include "dff/SizeGroupRace.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace dff {
namespace {

// Below this many bytes a stage is read where it is: handing it to another thread costs more.
constexpr long long sharedStageLength = 256 << 10;

} // namespace

void RacingFile::readStage() {
    try {
        bool done = reader.read([this](const char* data, long long size) { hasher.update(data, size); });
        hasher.hashValue(file->hash);
        stage = done ? finished : racing;
    } catch (const std::runtime_error&) {
        stage = unreadable;
    }
}

SizeGroupRace::SizeGroupRace(std::deque<RaceGroup> groups, const std::atomic<bool>& stopped)
    : groups_(std::move(groups)), stopped_(stopped) {}

unsigned SizeGroupRace::defaultThreads() {
    return std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
}

void SizeGroupRace::readStage(RaceGroup& stage) {
    if (stage.size() < 2 || stage.front()->reader.stageLength() < sharedStageLength) {
        for (auto& record : stage) {
            if (stopped_)
                return;
            record->readStage();
        }
        return;
    }
    unsigned pending = 0;
    std::unique_lock<std::mutex> guard(lock_);
    for (size_t i = 1; i < stage.size(); ++i)
        sharedReads_.push_back({stage[i].get(), &pending});
    pending = static_cast<unsigned>(stage.size() - 1);
    changed_.notify_all();
    guard.unlock();
    stage.front()->readStage();
    guard.lock();
    while (pending > 0)
        if (!readSharedStage(guard))
            changed_.wait(guard);
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
            if (record->stage == RacingFile::finished) {
                leave(file, RaceOutcome::finished);
            } else if (record->stage == RacingFile::unreadable) {
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
    read.record->readStage();
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
        changed_.wait(guard);
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
            changed_.wait(guard);
        }
    }
    guard.unlock();
    for (auto& helper : helpers)
        helper.join();
}

} // namespace dff
