#include "Core/foundation/FileOperations.h"

#include "Core/platform/FileInfo.h"

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
    struct stat info {};
    readable = getFileInfo(path.c_str(), &info) == 0;
    if (!readable)
        return std::nullopt;
    switch (type) {
    case DateType::lastOpen:
        return info.st_atim.tv_sec;
    case DateType::creation:
        return getCreationTime(path.c_str());
    case DateType::lastModification:
        return info.st_mtim.tv_sec;
    case DateType::lastChange:
        return info.st_ctim.tv_sec;
    }
    return std::nullopt;
}

} // namespace

std::optional<struct stat> FileOperations::getStatWith(const std::string& path) {
    struct stat info {};
    if (getFileInfo(path.c_str(), &info) != 0)
        return std::nullopt;
    return info;
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
    return !info || isSpecialFile(info->st_mode);
}

} // namespace core
