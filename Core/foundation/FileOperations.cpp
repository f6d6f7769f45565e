#include "Core/foundation/FileOperations.h"

#include "Core/platform/FileStatus.h"

#include <mutex>
#include <unordered_map>

namespace core {
namespace {

struct CachedDateKey {
    std::string path;
    DateType dateType;
    friend bool operator==(const CachedDateKey&, const CachedDateKey&) = default;
};

struct CachedDateKeyHash {
    std::size_t operator()(const CachedDateKey& key) const noexcept {
        return std::hash<std::string>()(key.path) * 31 + static_cast<std::size_t>(key.dateType);
    }
};

struct DateCache {
    std::mutex mutex;
    std::unordered_map<CachedDateKey, std::optional<std::time_t>, CachedDateKeyHash> dates;
};

DateCache& dateCache() {
    static auto* cache = new DateCache();
    return *cache;
}

std::optional<std::time_t> readDate(const std::string& path, DateType type, bool& readable) {
    auto info = fileStatus(path);
    readable = info.has_value();
    if (!readable)
        return std::nullopt;
    switch (type) {
    case DateType::lastOpen:
        return info->accessTime;
    case DateType::creation:
        return getCreationTime(path.c_str());
    case DateType::lastModification:
        return info->modificationTime;
    case DateType::lastChange:
        return info->changeTime;
    }
    return std::nullopt;
}

} // namespace

std::optional<FileStatus> FileOperations::getStatWith(const std::string& path) {
    return fileStatus(path);
}

std::optional<std::time_t> FileOperations::cachedDate(const std::string& path, DateType type) {
    auto& cache = dateCache();
    CachedDateKey key{path, type};
    {
        std::lock_guard lock(cache.mutex);
        if (auto hit = cache.dates.find(key); hit != cache.dates.end())
            return hit->second;
    }
    bool readable = false;
    auto date = readDate(path, type, readable);
    // A file that could not be read is asked again next time: it may appear.
    if (readable) {
        std::lock_guard lock(cache.mutex);
        cache.dates.emplace(std::move(key), date);
    }
    return date;
}

std::optional<std::time_t> FileOperations::getLastOpenDateOfFile(const std::string& path) {
    return cachedDate(path, DateType::lastOpen);
}

std::optional<std::time_t> FileOperations::getCreationDateOfFile(const std::string& path) {
    return cachedDate(path, DateType::creation);
}

std::optional<std::time_t> FileOperations::getLastModificationDateOfFile(const std::string& path) {
    return cachedDate(path, DateType::lastModification);
}

std::optional<std::time_t> FileOperations::getLastChangeDateOfFile(const std::string& path) {
    return cachedDate(path, DateType::lastChange);
}

bool FileOperations::isSpecialFileType(const std::string& path) {
    auto info = getStatWith(path);
    return !info || info->isSpecial();
}

} // namespace core
