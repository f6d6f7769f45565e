// Turns a scan's fixed list of weighted parts into one overall fraction. A part counts in full
// when it is finished (nextPart); while it runs, its owner sets partTotal and partProgress and
// calls update().
//
// Threading: changed only by the scan's own serial queue; the callback runs on the main queue,
// throttled through ValueObservable.
#pragma once

#include "Core/foundation/ValueObservable.h"

#include <vector>

namespace core {

class Progress {
public:
    Progress(std::vector<int> parts, std::function<void(double)> block);

    void nextPart();
    void update();
    // The fraction the next publication would carry.
    double fraction() const;

    const std::vector<int> parts;
    const int total;
    int currentIndex = -1;
    int current = 0;
    int partTotal = 0;
    int partProgress = 0;

private:
    std::shared_ptr<ValueObservable<double>> valueObservable_;
};

} // namespace core
