#include "Core/deletion/PhotoDeleter.h"

#include "Core/foundation/Analytics.h"
#include "Core/platform/Dispatch.h"

namespace core {

void PhotoDeleter::start() {
    if (stated_)
        return;
    stated_ = true;
    run();
}

void PhotoDeleter::run() {
    auto deleter = deleter_.lock();
    if (!deleter || deleter->photos().empty() || !deleter->photoLibraryPath())
        return;
    analytics()->event(61, {});
    analytics()->event(62, {{"info", "load library failed: " + *deleter->photoLibraryPath()}});
    reportFailure(false);
}

void PhotoDeleter::reportFailure(bool authError) {
    auto deleter = deleter_.lock();
    auto delegate = deleter ? deleter->delegate.lock() : nullptr;
    if (!delegate)
        return;
    // The answer may come from any thread; the Deleter lives on the main queue.
    delegate->deleterPhotoFailed(authError, [weakSelf = weak_from_this()](bool again) {
        DispatchQueue::main()->async([weakSelf, again] {
            if (auto self = weakSelf.lock())
                self->answer(again);
        });
    });
}

void PhotoDeleter::answer(bool again) {
    auto deleter = deleter_.lock();
    if (!deleter)
        return;
    if (again)
        return run();
    for (const auto& photo : deleter->photos())
        deleter->recordDeleted(photo.file.url.path(), false, 0);
    deleter->finish();
}

} // namespace core
