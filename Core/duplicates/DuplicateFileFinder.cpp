#include "Core/duplicates/DuplicateFileFinder.h"

#include "Core/platform/Dispatch.h"
#include "dff/FreedSpace.h"

namespace core {
namespace {

DuplicateGroups toDuplicates(DFFGroups&& groups) {
    DuplicateGroups converted;
    for (auto& group : groups) {
        auto& members = converted.emplace_back();
        for (auto& file : group) {
            File plain{std::move(file.url), file.size};
            if (file.photoID)
                members.emplace_back(Photo{std::move(*file.photoID), std::move(plain)});
            else
                members.emplace_back(std::move(plain));
        }
    }
    return converted;
}

} // namespace

const File& fileOf(const Duplicate& duplicate) {
    return std::holds_alternative<File>(duplicate) ? std::get<File>(duplicate)
                                                   : std::get<Photo>(duplicate).file;
}

std::int64_t bytesFreedByRemovingAllButFirst(const std::vector<Duplicate>& group) {
    std::vector<dff::Path> paths;
    for (const auto& member : group)
        paths.emplace_back(fileOf(member).url.path());
    return dff::bytesFreedByRemovingAllButFirst(paths);
}

DuplicateFileFinder::DuplicateFileFinder()
    : progress_(ValueObservable<double>::make([this](double value) {
          if (auto target = delegate.lock())
              target->duplicateFileFinderProgress(value);
      })),
      current_(ValueObservable<URL>::make([this](URL url) {
          if (auto target = delegate.lock())
              target->duplicateFileFinderCurrent(url);
      })) {}

std::shared_ptr<DuplicateFileFinder> DuplicateFileFinder::shared() {
    static std::shared_ptr<DuplicateFileFinder> instance(new DuplicateFileFinder());
    return instance;
}

void DuplicateFileFinder::start(bool isOnlyDuplicates) {
    auto queue = DispatchQueue::makeSerial("start(isOnlyDuplicates:)", QualityOfService::userInitiated);
    queue->async([weakSelf = weak_from_this(), isOnlyDuplicates] {
        auto self = weakSelf.lock();
        if (!self)
            return;
        auto result = self->find(isOnlyDuplicates);
        self->notify([duplicates = toDuplicates(std::move(result.duplicateFiles)),
                      similar = toDuplicates(std::move(result.similarFiles))](auto& target) {
            target.duplicateFileFinderCompleted(duplicates, similar);
        });
    });
}

void DuplicateFileFinder::progress(double value) {
    progress_->update([value] { return value; });
}

void DuplicateFileFinder::current(const URL& url) {
    current_->update([&url] { return url; });
}

void DuplicateFileFinder::notify(std::function<void(DuplicateFileFinderDelegate&)> call) {
    postToDelegate(weak_from_this(), delegate, std::move(call));
}

} // namespace core
