#include "Core/foundation/Progress.h"

#include <numeric>

namespace core {

Progress::Progress(std::vector<int> parts, std::function<void(double)> block)
    : parts(std::move(parts)), total(std::accumulate(this->parts.begin(), this->parts.end(), 0)),
      valueObservable_(ValueObservable<double>::make(std::move(block))) {}

void Progress::nextPart() {
    ++currentIndex;
    current += parts[currentIndex];
    partTotal = 0;
    partProgress = 0;
    valueObservable_->update([this] { return fraction(); });
}

void Progress::update() {
    valueObservable_->update([this] { return fraction(); });
}

double Progress::fraction() const {
    double done = current;
    std::size_t running = static_cast<std::size_t>(currentIndex + 1);
    if (partTotal != 0 && running < parts.size())
        done += static_cast<double>(partProgress) / static_cast<double>(partTotal) * parts[running];
    return done / static_cast<double>(total);
}

} // namespace core
