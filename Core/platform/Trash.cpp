#include "Core/platform/Trash.h"

#include "Core/platform/CurrentProcess.h"
#include "Core/platform/FileInfo.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Text.h"
#include "Core/platform/TrashDirectories.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace core {
namespace {

constexpr int tooManyNames = 10000;

// Makes a folder of the user's own unless it exists; 0 when it is a real folder owned by the user.
int ensurePrivateFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return errno;
    auto status = fileStatus(path);
    if (!status)
        return EIO;
    if (!status->isFolder())
        return ENOTDIR;
    return status->owner == currentUserID() ? 0 : EACCES;
}

// Trash folders made or checked by this process: a deletion of thousands of items would otherwise
// check the same three folders for each. One removed meanwhile is noticed when an item's info file
// cannot be made in it, and is made again.
struct PreparedTrashes {
    std::mutex mutex;
    std::set<std::string> folders;
};

PreparedTrashes& preparedTrashes() {
    static auto* prepared = new PreparedTrashes();
    return *prepared;
}

void forgetPrepared(const std::string& trash) {
    std::lock_guard lock(preparedTrashes().mutex);
    preparedTrashes().folders.erase(trash);
}

// Makes a trash folder with its "files" and "info" unless this process did already.
int ensureFolders(const std::string& trash) {
    auto& prepared = preparedTrashes();
    {
        std::lock_guard lock(prepared.mutex);
        if (prepared.folders.count(trash))
            return 0;
    }
    for (const std::string& folder : {trash, trash + "/files", trash + "/info"})
        if (int error = ensurePrivateFolder(folder))
            return error;
    std::lock_guard lock(prepared.mutex);
    prepared.folders.insert(trash);
    return 0;
}

// The highest folder above `folder` (canonical) that is still on `device`: the volume's top.
std::string topDirectory(std::string folder, std::uint64_t device) {
    while (folder != "/") {
        auto parent = fileStatus(splitLastComponent(folder).folder, LinkHandling::follow);
        if (!parent || parent->device != device)
            break;
        folder = splitLastComponent(folder).folder;
    }
    return folder;
}

std::optional<std::string> volumeTrash(const std::string& top) {
    std::string prefix = top == "/" ? "" : top;
    std::string uid = std::to_string(currentUserID());
    auto shared = fileStatus(prefix + "/.Trash");
    if (shared && shared->isFolder() && (shared->mode & S_ISVTX) &&
        ensureFolders(prefix + "/.Trash/" + uid) == 0)
        return prefix + "/.Trash/" + uid;
    if (ensureFolders(prefix + "/.Trash-" + uid) == 0)
        return prefix + "/.Trash-" + uid;
    return std::nullopt;
}

std::string localDeletionDate() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    return text;
}

bool writeAll(int descriptor, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        ssize_t n = ::write(descriptor, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += static_cast<std::size_t>(n);
    }
    return true;
}

// The trash keeps a cache of the sizes of trashed folders; where it exists it must list the new
// one, or trash tools would show a wrong total. It is rewritten whole and renamed into place.
void addToDirectorySizes(const std::string& trash, const std::string& name, const std::string& item,
                         const std::string& infoFile) {
    std::string cache = trash + "/directorysizes";
    auto existing = readFileContents(cache);
    auto info = fileStatus(infoFile);
    if (!existing || !info)
        return;
    if (!existing->empty() && existing->back() != '\n')
        *existing += '\n';
    *existing += std::to_string(GetDirectorySize(item.c_str(), nullptr, nullptr)) + " " +
                 std::to_string(info->modificationTime) + " " + percentEncodedTrashPath(name) + "\n";
    std::string temporary = cache + ".tidewell-" + std::to_string(::getpid());
    int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return;
    bool written = writeAll(descriptor, *existing);
    ::close(descriptor);
    if (!written || ::rename(temporary.c_str(), cache.c_str()) != 0)
        ::unlink(temporary.c_str());
}

// Moves without ever replacing what is there: EEXIST when the name is taken.
int moveWithoutReplacing(const std::string& from, const std::string& to) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
}

int moveToFreedesktopTrash(const std::string& item, const std::string& trash, const std::string& infoPath,
                           bool isFolder) {
    std::string name = splitLastComponent(item).name;
    bool remade = false;
    for (int n = 1; n < tooManyNames; ++n) {
        std::string candidate = n == 1 ? name : alternativeTrashName(name, n, false);
        std::string infoFile = trash + "/info/" + candidate + ".trashinfo";
        int descriptor = ::open(infoFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (descriptor < 0 && errno == EEXIST)
            continue;
        if (descriptor < 0 && errno == ENOENT && !remade) {
            forgetPrepared(trash);
            if (int error = ensureFolders(trash))
                return error;
            remade = true;
            --n;
            continue;
        }
        if (descriptor < 0)
            return errno;
        bool written = writeAll(descriptor, "[Trash Info]\nPath=" + percentEncodedTrashPath(infoPath) +
                                                "\nDeletionDate=" + localDeletionDate() + "\n");
        ::close(descriptor);
        int error = written ? moveWithoutReplacing(item, trash + "/files/" + candidate) : EIO;
        if (error == EEXIST)
            ::unlink(infoFile.c_str());
        if (error == EEXIST)
            continue;
        if (error) {
            ::unlink(infoFile.c_str());
            return error;
        }
        if (isFolder)
            addToDirectorySizes(trash, candidate, trash + "/files/" + candidate, infoFile);
        return 0;
    }
    return EEXIST;
}

int moveToMacOSTrash(const std::string& item) {
    std::string trash = SystemPaths::shared().inHome(".Trash");
    if (int error = ensurePrivateFolder(trash))
        return error;
    std::string name = splitLastComponent(item).name;
    for (int n = 1; n < tooManyNames; ++n) {
        int error =
            moveWithoutReplacing(item, trash + "/" + (n == 1 ? name : alternativeTrashName(name, n, true)));
        if (error != EEXIST)
            return error;
    }
    return EEXIST;
}

} // namespace

std::string alternativeTrashName(const std::string& name, int n, bool macOSStyle) {
    auto dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0)
        dot = name.size();
    return name.substr(0, dot) + (macOSStyle ? " " : ".") + std::to_string(n) + name.substr(dot);
}

std::string percentEncodedTrashPath(const std::string& path) {
    static const char hex[] = "0123456789ABCDEF";
    std::string encoded;
    for (unsigned char c : path) {
        bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                     c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            encoded += static_cast<char>(c);
        } else {
            encoded += '%';
            encoded += hex[c >> 4];
            encoded += hex[c & 15];
        }
    }
    return encoded;
}

int moveToTrash(const std::string& path) {
    auto [folder, name] = splitLastComponent(path);
    int error = 0;
    auto item = fileStatus(folder + "/" + name, LinkHandling::keep, &error);
    if (!item)
        return error;
    auto parent = canonicalPath(folder);
    if (!parent)
        return ENOENT;
    if (name.empty() || name == "." || name == "..")
        return EINVAL;
    std::string absolute = (*parent == "/" ? "" : *parent) + "/" + name;
    if (SystemPaths::shared().root() != "/")
        return moveToMacOSTrash(absolute);

    std::string homeTrash = homeTrashFolder();
    std::string dataHome = splitLastComponent(homeTrash).folder;
    auto homeVolume = fileStatus(dataHome, LinkHandling::follow);
    if (!homeVolume)
        homeVolume = fileStatus(SystemPaths::shared().home(), LinkHandling::follow);
    if (homeVolume && homeVolume->device == item->device) {
        std::error_code ignored;
        std::filesystem::create_directories(dataHome, ignored);
        if (int failed = ensureFolders(homeTrash))
            return failed;
        return moveToFreedesktopTrash(absolute, homeTrash, absolute, item->isFolder());
    }
    std::string top = topDirectory(*parent, item->device);
    auto trash = volumeTrash(top);
    if (!trash)
        return EXDEV;
    std::string relative = absolute.substr(top == "/" ? 1 : top.size() + 1);
    return moveToFreedesktopTrash(absolute, *trash, relative, item->isFolder());
}

} // namespace core
