// Where the library's own absolute paths live. `root` stands for "/" in every path Core names
// itself ("/Library/Caches", "/private/var/log"), so that a test can build a macOS-like tree in a
// temporary folder, or a user can clean a mounted macOS volume from Linux. Paths a caller hands
// in are used as given.
//
// Threading: configure before scans start; reads are safe from any thread.
#pragma once

#include <mutex>
#include <optional>
#include <string>

namespace core {

class SystemPaths {
public:
    SystemPaths(std::string root, std::string home);

    // The process-wide paths: root "/" and $HOME until configured.
    static SystemPaths& shared();
    void configure(std::string root, std::string home);
    // Where the library's resource documents (rules, vendors, groups, public suffixes) are read.
    void setResourcesDirectory(std::string directory);
    std::string resourcesDirectory() const;

    std::string root() const;
    std::string home() const;

    // An absolute path as the library names it, placed under root. Under a root other than "/",
    // each component is resolved inside the root: ".." stops at the root and an absolute link
    // target is read as a path of the root, so a link on a mounted volume never leads to the host.
    // A path whose links loop names nothing: it comes back below unreachableFolder.
    std::string resolve(const std::string& absolutePath) const;
    // A path inside the home folder, e.g. inHome("Library/Caches"); resolved inside the root, as
    // resolve() does, when the home folder lies inside a root other than "/".
    std::string inHome(const std::string& relativePath) const;

    // Where a path found under the root really leads, its links followed: inside the root when
    // the root is not "/", so that an alias on a mounted volume names a file of that volume.
    // Absent when it leads nowhere.
    std::optional<std::string> realPath(const std::string& path) const;

    std::string userLibrary() const { return inHome("Library"); }
    std::string localLibrary() const { return resolve("/Library"); }
    std::string localCaches() const { return resolve("/Library/Caches"); }

    // The downloads folder, and the folder the user-dirs file named when it was not taken.
    struct DownloadsFolder {
        std::string path;
        std::string refused;
    };
    // The XDG download folder of "~/.config/user-dirs.dirs" when it lies inside the home folder
    // (after "..", and links resolved inside the home folder), else "~/Downloads". The home
    // folder itself is refused too: the whole home is not a downloads folder.
    DownloadsFolder downloadsFolder() const;
    std::string downloadsDirectory() const { return downloadsFolder().path; }
    // The temporary folder: $TMPDIR, else "/tmp", of this machine when root is "/"; under another
    // root, the root's "/tmp".
    std::string temporaryDirectory() const;

    // Below a file that is no folder, where nothing can be listed or found.
    static constexpr const char* unreachableFolder = "/dev/null";

private:
    static std::string resolveUnder(const std::string& top, const std::string& absolutePath);

    mutable std::mutex mutex_;
    std::string root_;
    std::string home_;
    std::string resources_;
};

} // namespace core
