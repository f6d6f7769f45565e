// The duplicate search as the application uses it: one process-wide finder that runs the engine on
// a queue of its own and hands its groups to a delegate on the main queue, as Files or Photos.
//
// Threading: set the properties and start from the main thread; the delegate is called on the
// main queue.
#pragma once

#include "Core/duplicates/DFFDuplicateFileFinder.h"
#include "Core/foundation/File.h"
#include "Core/foundation/ValueObservable.h"

#include <memory>
#include <variant>

namespace core {

// What the user may remove: a plain file, or a photo of a photo library.
using Duplicate = std::variant<File, Photo>;
using DuplicateGroups = std::vector<std::vector<Duplicate>>;

// The file of a duplicate: itself, or the photo's file.
const File& fileOf(const Duplicate& duplicate);

// The bytes that removing every member of a group but the first frees on the disk, as it is now:
// what the file system allocated, each file counted when its last link goes.
std::int64_t bytesFreedByRemovingAllButFirst(const std::vector<Duplicate>& group);

class DuplicateFileFinderDelegate {
public:
    virtual ~DuplicateFileFinderDelegate() = default;
    virtual void duplicateFileFinderCurrent(const URL& url) = 0;
    virtual void duplicateFileFinderProgress(double value) = 0;
    virtual void duplicateFileFinderCompleted(const DuplicateGroups& duplicates,
                                              const DuplicateGroups& similar) = 0;
};

class DuplicateFileFinder : public DFFDuplicateFileFinder,
                            public std::enable_shared_from_this<DuplicateFileFinder> {
public:
    static std::shared_ptr<DuplicateFileFinder> shared();

    // Runs the search on a new serial queue; the completion comes even after stop().
    void start(bool isOnlyDuplicates);

    std::weak_ptr<DuplicateFileFinderDelegate> delegate;

protected:
    void progress(double value) override;
    void current(const URL& url) override;

private:
    DuplicateFileFinder();
    void notify(std::function<void(DuplicateFileFinderDelegate&)> call);

    // The engine offers a value for every file; the main queue hears at most one per 0.03 s.
    std::shared_ptr<ValueObservable<double>> progress_;
    std::shared_ptr<ValueObservable<URL>> current_;
};

} // namespace core
