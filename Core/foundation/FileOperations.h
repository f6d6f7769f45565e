// Dates and stat data of files, asked a great many times while an application's files are
// listed. Dates are cached for the life of the process: a date asked twice is the first answer,
// even if the file changed in between.
//
// Threading: every operation may run on any queue; the cache is guarded.
#pragma once

#include "Core/platform/FileStatus.h"

#include <ctime>
#include <optional>
#include <string>

namespace core {

enum class DateType { lastOpen, creation, lastModification, lastChange };

class FileOperations {
public:
    FileOperations() = delete;

    static std::optional<FileStatus> getStatWith(const std::string& path);
    // Whole seconds since 1970; absent when the file cannot be read.
    static std::optional<std::time_t> getLastOpenDateOfFile(const std::string& path);
    static std::optional<std::time_t> getCreationDateOfFile(const std::string& path);
    static std::optional<std::time_t> getLastModificationDateOfFile(const std::string& path);
    static std::optional<std::time_t> getLastChangeDateOfFile(const std::string& path);
    // Devices, FIFOs and sockets, and anything that cannot be read.
    static bool isSpecialFileType(const std::string& path);

private:
    static std::optional<std::time_t> cachedDate(const std::string& path, DateType type);
};

} // namespace core
