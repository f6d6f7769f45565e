#include "Core/apps/AppJunkFinder.h"

namespace core {

void AppJunkFinder::start(const AppJunkOptions& options) {
    std::weak_ptr<AppJunkFinder> weakSelf = weak_from_this();
    context = FileFinderContext::make([weakSelf](URL url) {
        if (auto self = weakSelf.lock())
            if (auto target = self->delegate.lock())
                target->appJunkScanningFile(url);
    });
    auto queue = DispatchQueue::makeSerial("start(config:)", QualityOfService::userInitiated);
    context->async(queue, [weakSelf, options] {
        if (auto self = weakSelf.lock())
            self->run(options);
    });
}

void AppJunkFinder::stop() {
    if (context)
        context->interrupt();
}

// Application bundles and the rule-driven walk that attributes their caches and logs are not
// part of the library yet: the stage completes its share of the progress with nothing found.
void AppJunkFinder::run(const AppJunkOptions&) {
    if (auto target = delegate.lock())
        target->appJunkProgressChanged(1.0);
    finish();
}

void AppJunkFinder::finish() {
    DispatchQueue::main()->async([weakSelf = weak_from_this()] {
        if (auto self = weakSelf.lock())
            if (auto target = self->delegate.lock())
                target->appJunkScanCompleted();
    });
}

} // namespace core
