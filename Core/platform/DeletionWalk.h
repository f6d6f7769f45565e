// A physical walk of a folder tree for removing it, relative to folder descriptors. Every folder
// is entered with openat(O_NOFOLLOW | O_DIRECTORY) from its parent's descriptor, and the device
// and inode of what was opened must be those of what was listed, so a link swapped in while the
// walk runs can neither lead it out of the tree nor redirect a removal; names are removed with
// unlinkat relative to the folder they were listed in, never by a path string resolved again. A
// link is an entry like a file: removing it removes the link, never its target.
//
// The events are those of a physical file-tree walk: a folder before its contents (which may be
// skipped), every other entry, a folder after its contents, and a folder that could not be read.
//
// Threading: a walk belongs to one thread at a time.
#pragma once

#include "Core/platform/FileStatus.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace core {

// Removes one name that is not a folder (a link itself, never its target): 0 or the errno.
int removeName(const std::string& path);

class DeletionWalk {
public:
    enum class Event {
        folder,     // before its contents
        folderDone, // after its contents
        file,       // anything that is not a folder: files, links, devices, sockets, FIFOs
        unreadable, // a folder that could not be entered or listed; errorNumber says why
    };
    struct Entry {
        Event event;
        std::string path;
        int errorNumber = 0;
    };

    // Walks `top`, which must be a folder and not a link (error() says ENOTDIR or ELOOP otherwise).
    explicit DeletionWalk(const std::string& top);
    ~DeletionWalk();
    DeletionWalk(const DeletionWalk&) = delete;
    DeletionWalk& operator=(const DeletionWalk&) = delete;

    // 0 when the walk could start, else the errno of opening the top folder.
    int error() const { return error_; }

    // The next entry; absent when the walk is over.
    std::optional<Entry> next();

    // After a folder event: its contents are not walked and no folderDone follows.
    void skip();

    // Removes the entry last returned (a file event, or a folderDone event for its folder):
    // 0 on success, else the errno.
    int removeCurrent();

    // The entry last returned, as the folder holding it (a descriptor) and its name there, for
    // whatever else must be done to it without resolving its path again.
    int currentFolderDescriptor() const { return current_ ? current_->parent : -1; }
    const std::string& currentName() const { return current_ ? current_->name : topName_; }

    // Called with a folder's path between listing it and entering it; lets a test change the tree
    // at the moment a real race would.
    void setBeforeEnteringForTesting(std::function<void(const std::string&)> hook) {
        beforeEntering_ = std::move(hook);
    }

private:
    struct Listed {
        std::string name;
        FileKind kind;
    };
    struct Level {
        int descriptor = -1;
        std::string name;
        std::string path;
        std::vector<Listed> entries;
        std::size_t nextEntry = 0;
    };
    struct Current {
        int parent = -1; // descriptor of the folder holding it
        std::string name;
        std::string path;
        bool folder = false;
        // Of a folder, as listed: what is opened to enter it must be the same.
        std::uint64_t device = 0, inode = 0;
    };

    std::optional<Entry> enter(const Current& folder);
    std::optional<Entry> nextInLevel();
    Entry leaveLevel();
    int parentOfTop_ = -1;
    std::string topName_;
    std::vector<Level> levels_;
    std::optional<Current> current_;
    bool enterPending_ = false;
    bool started_ = false;
    int error_ = 0;
    std::function<void(const std::string&)> beforeEntering_;
};

} // namespace core
