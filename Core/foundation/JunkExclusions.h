// The paths a user excluded from a junk scan, and how a category reports a folder that has an
// excluded file deep inside it: in pieces, leaving that file out.
//
// Threading: immutable after construction; reads the disk in urlsWithoutExcluded.
#pragma once

#include "Core/foundation/URL.h"

#include <vector>

namespace core {

class JunkExclusions {
public:
    JunkExclusions() = default;
    // Each path is compared in its lexically normal form ("//", "/./", ".." and a trailing "/"
    // taken out), as a listing names the entries it meets.
    explicit JunkExclusions(const std::vector<URL>& excluded);

    // The entry is an excluded path or lies inside one.
    bool excludes(const URL& entry) const;

    // What to report instead of `url`: `url` itself when nothing excluded lies below it; else, for
    // the excluded path below it with the fewest characters, every entry beside the way down from
    // `url` to that path. Only that one excluded path shapes the pieces.
    std::vector<URL> urlsWithoutExcluded(const URL& url) const;

private:
    std::vector<URL> excluded_;
};

} // namespace core
