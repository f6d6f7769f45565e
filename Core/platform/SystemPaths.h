// Where the library's own absolute paths live. `root` stands for "/" in every path Core names
// itself ("/Library/Caches", "/private/var/log"), so that a test can build a macOS-like tree in a
// temporary folder, or a user can clean a mounted macOS volume from Linux. Paths a caller hands
// in are used as given.
//
// Threading: configure before scans start; reads are safe from any thread.
#pragma once

#include <mutex>
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

    // An absolute path as the library names it, placed under root.
    std::string resolve(const std::string& absolutePath) const;
    // A path inside the home folder, e.g. inHome("Library/Caches").
    std::string inHome(const std::string& relativePath) const;

    std::string userLibrary() const { return inHome("Library"); }
    std::string localLibrary() const { return resolve("/Library"); }
    std::string localCaches() const { return resolve("/Library/Caches"); }
    // The user's downloads folder: the XDG download folder of the home folder, "~/Downloads"
    // unless "~/.config/user-dirs.dirs" says otherwise.
    std::string downloadsDirectory() const;
    // The temporary folder of this machine ($TMPDIR, else "/tmp"); it is never under root.
    std::string temporaryDirectory() const;

private:
    mutable std::mutex mutex_;
    std::string root_;
    std::string home_;
    std::string resources_;
};

} // namespace core
