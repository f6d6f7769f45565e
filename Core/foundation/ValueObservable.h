// Publishes a stream of values to one callback on the main queue, at most one per 0.03 seconds,
// so that a scan may offer a value for every file it touches. The first value of a window is the
// one delivered; later ones in the window are dropped without computing them, and nothing is
// flushed at the end.
//
// Threading: update() may be called from any thread; the callback runs on the main queue.
#pragma once

#include "Core/platform/Dispatch.h"

#include <atomic>
#include <functional>
#include <memory>

namespace core {

inline constexpr Seconds valueThrottleWindow{0.03};

template <class T> class ValueObservable : public std::enable_shared_from_this<ValueObservable<T>> {
public:
    static std::shared_ptr<ValueObservable> make(std::function<void(T)> block) {
        return std::shared_ptr<ValueObservable>(new ValueObservable(std::move(block)));
    }

    // The producer runs on the caller's thread, and only when its value will be delivered.
    void update(const std::function<T()>& producer) {
        bool idle = false;
        if (!updating_.compare_exchange_strong(idle, true))
            return;
        // The scheduled delivery holds the observable, so a value accepted is delivered even if
        // the owner lets go meanwhile.
        DispatchQueue::main()->asyncAfter(valueThrottleWindow,
                                          [self = this->shared_from_this(), value = producer()] {
                                              self->block_(value);
                                              self->updating_ = false;
                                          });
    }

private:
    explicit ValueObservable(std::function<void(T)> block) : block_(std::move(block)) {}
    const std::function<void(T)> block_;
    std::atomic<bool> updating_{false};
};

} // namespace core
