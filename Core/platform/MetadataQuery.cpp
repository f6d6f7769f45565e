#include "Core/platform/MetadataQuery.h"

#include "Core/platform/FileInfo.h"
#include "Core/platform/FolderDescriptor.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"
#include "Core/platform/UniformTypes.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace core {
namespace {

constexpr const char* screenCaptureAttribute = "user.com.apple.metadata:kMDItemIsScreenCapture";
constexpr const char* commentAttribute = "user.xdg.comment";

std::optional<std::string> extendedAttribute(const std::string& path, const char* attribute) {
    char value[1024];
    ssize_t length = ::lgetxattr(path.c_str(), attribute, value, sizeof value);
    if (length < 0)
        return std::nullopt;
    return std::string(value, static_cast<std::size_t>(length));
}

std::int64_t entriesOfFolder(const std::string& path) {
    DIR* dir = ::opendir(path.c_str());
    if (!dir)
        return 0;
    std::int64_t count = 0;
    while (dirent* entry = ::readdir(dir))
        if (std::string_view(entry->d_name) != "." && std::string_view(entry->d_name) != "..")
            ++count;
    ::closedir(dir);
    return count;
}

bool isPackageFolder(int parent, const std::string& name) {
    if (isPackageExtension(extensionOf(name)))
        return true;
    struct stat info {};
    return ::fstatat(parent, (name + "/Contents/Info.plist").c_str(), &info, 0) == 0;
}

bool beginsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

} // namespace

MetadataItem::MetadataItem(std::string path, Kind kind, std::int64_t size, std::int64_t allocated,
                           std::int64_t nodeCount)
    : path_(std::move(path)), kind_(kind), size_(size), allocated_(allocated), nodeCount_(nodeCount) {
    switch (kind_) {
    case Kind::file:
        contentType_ = typeForFileExtension(extensionOf(name()));
        break;
    case Kind::folder:
        contentType_ = uti::folder;
        break;
    case Kind::package:
        contentType_ = typeForPackageExtension(extensionOf(name()));
        break;
    }
}

std::string MetadataItem::name() const {
    return path_.substr(path_.rfind('/') + 1);
}

bool MetadataItem::hasScreenshotName() const {
    std::string itemName = name();
    return beginsWith(itemName, "Screenshot") || beginsWith(itemName, "Screen Shot");
}

bool MetadataItem::isScreenCapture() const {
    if (kind_ != Kind::file)
        return false;
    if (extendedAttribute(path_, screenCaptureAttribute))
        return true;
    bool picture = conformsTo(contentType_, "public.image") || conformsTo(contentType_, "public.movie");
    return picture && hasScreenshotName();
}

std::optional<MetadataValue> MetadataItem::valueForAttribute(const std::string& attribute) const {
    if (attribute == "kMDItemPath")
        return path_;
    if (attribute == "kMDItemFSName" || attribute == "kMDItemDisplayName")
        return name();
    if (attribute == "kMDItemFSSize")
        return kind_ == Kind::folder ? std::nullopt : std::optional<MetadataValue>(size_);
    if (attribute == "kMDItemPhysicalSize")
        return kind_ == Kind::folder ? std::nullopt : std::optional<MetadataValue>(allocated_);
    if (attribute == "kMDItemFSNodeCount")
        return kind_ == Kind::file ? std::nullopt
                                   : std::optional<MetadataValue>(
                                         kind_ == Kind::folder ? entriesOfFolder(path_) : nodeCount_);
    if (attribute == "kMDItemContentType")
        return contentType_;
    if (attribute == "kMDItemContentTypeTree")
        return conformanceTree(contentType_);
    if (attribute == "kMDItemIsScreenCapture" || attribute == "kMDItemImageIsScreenshot")
        return isScreenCapture() ? std::optional<MetadataValue>(std::int64_t{1}) : std::nullopt;
    if (attribute == "kMDItemIsScreenRecording")
        return kind_ == Kind::file && conformsTo(contentType_, "public.movie") && hasScreenshotName()
                   ? std::optional<MetadataValue>(std::int64_t{1})
                   : std::nullopt;
    if (attribute == "kMDItemComment") {
        auto comment = extendedAttribute(path_, commentAttribute);
        return comment ? std::optional<MetadataValue>(*comment) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::int64_t> MetadataItem::integerValue(const std::string& attribute) const {
    auto value = valueForAttribute(attribute);
    if (!value || !std::holds_alternative<std::int64_t>(*value))
        return std::nullopt;
    return std::get<std::int64_t>(*value);
}

// One run of a query, from startQuery to its end. The walk is split by folder over the global
// queue; matches are added in batches, one per folder.
struct MetadataQuery::Gathering {
    explicit Gathering(MetadataPredicate predicate) : predicate(std::move(predicate)) {}

    bool matches(const MetadataItem& item) const {
        return predicate.evaluate(
            [&](const std::string& attribute) { return item.valueForAttribute(attribute); });
    }

    // Lists one folder; hands each subfolder on to be listed the same way.
    void walk(const std::weak_ptr<MetadataQuery>& query, const std::shared_ptr<Gathering>& self,
              const std::string& path, dev_t device) {
        int fd = openFolderNoFollow(path);
        DIR* dir = fd < 0 ? nullptr : ::fdopendir(fd);
        if (!dir) {
            int error = errno;
            if (fd >= 0)
                ::close(fd);
            if (auto owner = query.lock(); owner && error != ENOENT)
                owner->failedToList(path, error);
            return;
        }
        std::vector<MetadataItem> found;
        while (dirent* entry = ::readdir(dir)) {
            if (stopped)
                break;
            std::string name = entry->d_name;
            if (name == "." || name == ".." ||
                (entry->d_type != DT_REG && entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN))
                continue;
            struct stat info {};
            if (::fstatat(fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            std::string child = path == "/" ? "/" + name : path + "/" + name;
            if (S_ISREG(info.st_mode)) {
                keepIfMatching({child, MetadataItem::Kind::file, info.st_size, info.st_blocks * 512}, found);
            } else if (S_ISDIR(info.st_mode) && info.st_dev == device) {
                if (isPackageFolder(fd, name)) {
                    auto tally = tallyTree(child.c_str(), &stopped);
                    keepIfMatching(
                        {child, MetadataItem::Kind::package, tally.bytes, tally.allocated, tally.entries},
                        found);
                    continue;
                }
                keepIfMatching({child, MetadataItem::Kind::folder, 0, 0}, found);
                group->async(DispatchQueue::global(),
                             [query, self, child, device] { self->walk(query, self, child, device); });
            }
        }
        ::closedir(dir);
        if (auto owner = query.lock(); owner && !found.empty())
            owner->addMatches(self, std::move(found));
    }

    void keepIfMatching(MetadataItem item, std::vector<MetadataItem>& found) const {
        if (matches(item))
            found.push_back(std::move(item));
    }

    MetadataPredicate predicate;
    std::atomic<bool> stopped{false};
    std::shared_ptr<DispatchGroup> group = DispatchGroup::make();
    std::chrono::steady_clock::time_point lastUpdate = std::chrono::steady_clock::now();
};

void MetadataQuery::setPredicate(std::optional<MetadataPredicate> predicate) {
    std::lock_guard lock(mutex_);
    predicate_ = std::move(predicate);
}

void MetadataQuery::setSearchScopes(std::vector<std::string> folders) {
    std::lock_guard lock(mutex_);
    scopes_ = std::move(folders);
}

void MetadataQuery::setSortDescriptors(std::vector<MetadataSortDescriptor> descriptors) {
    std::lock_guard lock(mutex_);
    sortDescriptors_ = std::move(descriptors);
}

void MetadataQuery::setNotificationBatchingInterval(Seconds interval) {
    std::lock_guard lock(mutex_);
    batchingInterval_ = interval;
}

void MetadataQuery::setOperationQueue(std::shared_ptr<OperationQueue> queue) {
    std::lock_guard lock(mutex_);
    operationQueue_ = std::move(queue);
}

void MetadataQuery::setDidUpdate(std::function<void()> callback) {
    std::lock_guard lock(mutex_);
    didUpdate_ = std::move(callback);
}

void MetadataQuery::setDidFinishGathering(std::function<void()> callback) {
    std::lock_guard lock(mutex_);
    didFinishGathering_ = std::move(callback);
}

void MetadataQuery::setDidFailToList(std::function<void(const std::string&, int)> callback) {
    std::lock_guard lock(mutex_);
    didFailToList_ = std::move(callback);
}

void MetadataQuery::failedToList(const std::string& path, int error) {
    std::function<void(const std::string&, int)> callback;
    {
        std::lock_guard lock(mutex_);
        callback = didFailToList_;
    }
    if (callback)
        callback(path, error);
}

bool MetadataQuery::startQuery() {
    std::shared_ptr<Gathering> gathering;
    std::vector<std::string> scopes;
    {
        std::lock_guard lock(mutex_);
        if (!predicate_ || gathering_)
            return false;
        gathering = gathering_ = std::make_shared<Gathering>(*predicate_);
        results_.clear();
        scopes = scopes_.empty() ? std::vector<std::string>{SystemPaths::shared().home()} : scopes_;
    }
    std::weak_ptr<MetadataQuery> weakSelf = weak_from_this();
    for (const auto& scope : scopes) {
        struct stat info {};
        if (::stat(scope.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            continue;
        gathering->group->async(DispatchQueue::global(), [weakSelf, gathering, scope, device = info.st_dev] {
            gathering->walk(weakSelf, gathering, scope, device);
        });
    }
    gathering->group->notify(DispatchQueue::global(), [weakSelf, gathering] {
        if (auto self = weakSelf.lock())
            self->gatheringFinished(gathering);
    });
    return true;
}

void MetadataQuery::stopQuery() {
    std::lock_guard lock(mutex_);
    if (gathering_)
        gathering_->stopped = true;
    gathering_.reset();
}

bool MetadataQuery::isGathering() const {
    std::lock_guard lock(mutex_);
    return gathering_ != nullptr;
}

std::vector<MetadataItem> MetadataQuery::results() const {
    std::lock_guard lock(mutex_);
    return results_;
}

std::size_t MetadataQuery::resultCount() const {
    std::lock_guard lock(mutex_);
    return results_.size();
}

void MetadataQuery::post(const std::function<void()>& callback) {
    if (!callback)
        return;
    if (operationQueue_)
        operationQueue_->addOperation(callback);
    else
        DispatchQueue::main()->async(callback);
}

void MetadataQuery::addMatches(const std::shared_ptr<Gathering>& gathering,
                               std::vector<MetadataItem> matches) {
    std::lock_guard lock(mutex_);
    if (gathering != gathering_)
        return;
    std::move(matches.begin(), matches.end(), std::back_inserter(results_));
    auto now = std::chrono::steady_clock::now();
    if (now - gathering->lastUpdate < batchingInterval_)
        return;
    gathering->lastUpdate = now;
    post(didUpdate_);
}

void MetadataQuery::gatheringFinished(const std::shared_ptr<Gathering>& gathering) {
    std::lock_guard lock(mutex_);
    if (gathering != gathering_)
        return;
    gathering_.reset();
    // The walk's order depends on the threads; the index's own order is by path, and the sort
    // descriptors order on top of it, keeping that order among equals.
    std::sort(results_.begin(), results_.end(),
              [](const MetadataItem& a, const MetadataItem& b) { return a.path() < b.path(); });
    for (auto descriptor = sortDescriptors_.rbegin(); descriptor != sortDescriptors_.rend(); ++descriptor)
        std::stable_sort(results_.begin(), results_.end(), [&](const MetadataItem& a, const MetadataItem& b) {
            auto left = a.valueForAttribute(descriptor->attribute);
            auto right = b.valueForAttribute(descriptor->attribute);
            if (!left || !right)
                return left.has_value() && !right.has_value();
            return descriptor->ascending ? *left < *right : *right < *left;
        });
    post(didFinishGathering_);
}

} // namespace core
