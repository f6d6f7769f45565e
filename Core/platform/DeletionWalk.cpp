#include "Core/platform/DeletionWalk.h"
#include "Core/platform/FolderReader.h"
#include "Core/platform/Text.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace core {

DeletionWalk::DeletionWalk(const std::string& top) {
    auto [folder, name] = splitLastComponent(top);
    if (name.empty() || name == "." || name == "..") {
        error_ = EINVAL;
        return;
    }
    topName_ = name;
    parentOfTop_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parentOfTop_ < 0) {
        error_ = errno;
        return;
    }
    int statusError = 0;
    auto status = fileStatusAt(parentOfTop_, name.c_str(), &statusError);
    if (!status)
        error_ = statusError;
    else if (status->isSymbolicLink())
        error_ = ELOOP;
    else if (!status->isFolder())
        error_ = ENOTDIR;
    else
        current_ = Current{parentOfTop_, name, top, true, status->device, status->inode};
}

DeletionWalk::~DeletionWalk() {
    for (const auto& level : levels_)
        ::close(level.descriptor);
    if (parentOfTop_ >= 0)
        ::close(parentOfTop_);
}

std::optional<DeletionWalk::Entry> DeletionWalk::next() {
    if (error_)
        return std::nullopt;
    if (!started_) {
        started_ = true;
        enterPending_ = true;
        return Entry{Event::folder, current_->path};
    }
    if (enterPending_) {
        enterPending_ = false;
        if (auto failed = enter(*current_))
            return failed;
    }
    return nextInLevel();
}

void DeletionWalk::skip() {
    enterPending_ = false;
}

// Opens a folder from its parent's descriptor and reads its names; an entry of the unreadable
// event when that fails, or when what was opened is not what was listed.
std::optional<DeletionWalk::Entry> DeletionWalk::enter(const Current& folder) {
    if (beforeEntering_)
        beforeEntering_(folder.path);
    int descriptor =
        ::openat(folder.parent, folder.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return Entry{Event::unreadable, folder.path, errno};
    auto opened = fileStatusOfDescriptor(descriptor);
    if (!opened || opened->device != folder.device || opened->inode != folder.inode) {
        ::close(descriptor);
        return Entry{Event::unreadable, folder.path, ELOOP};
    }
    FolderReader reader(descriptor);
    Level level{descriptor, folder.name, folder.path, {}, 0};
    while (auto entry = reader.next())
        level.entries.push_back({std::move(entry->name), entry->kind});
    // A folder not listed to its end is not walked at all: nothing is removed on half a listing.
    if (reader.error()) {
        ::close(descriptor);
        return Entry{Event::unreadable, folder.path, reader.error()};
    }
    levels_.push_back(std::move(level));
    return std::nullopt;
}

std::optional<DeletionWalk::Entry> DeletionWalk::nextInLevel() {
    while (!levels_.empty()) {
        auto& level = levels_.back();
        if (level.nextEntry == level.entries.size())
            return leaveLevel();
        const auto& listed = level.entries[level.nextEntry++];
        std::string path = level.path + "/" + listed.name;
        if (listed.kind == FileKind::folder) {
            // What is entered must be what was listed: its device and inode are taken now.
            auto status = fileStatusAt(level.descriptor, listed.name.c_str());
            if (!status)
                continue; // gone since it was listed
            if (!status->isFolder()) {
                current_ = Current{level.descriptor, listed.name, path, false};
                return Entry{Event::file, path};
            }
            current_ = Current{level.descriptor, listed.name, path, true, status->device, status->inode};
            enterPending_ = true;
            return Entry{Event::folder, path};
        }
        current_ = Current{level.descriptor, listed.name, path, false};
        return Entry{Event::file, path};
    }
    return std::nullopt;
}

DeletionWalk::Entry DeletionWalk::leaveLevel() {
    Level done = std::move(levels_.back());
    levels_.pop_back();
    ::close(done.descriptor);
    int parent = levels_.empty() ? parentOfTop_ : levels_.back().descriptor;
    current_ = Current{parent, done.name, done.path, true};
    return Entry{Event::folderDone, done.path};
}

int removeName(const std::string& path) {
    return ::unlink(path.c_str()) == 0 ? 0 : errno;
}

int DeletionWalk::removeCurrent() {
    if (!current_)
        return EINVAL;
    int flags = current_->folder ? AT_REMOVEDIR : 0;
    return ::unlinkat(current_->parent, current_->name.c_str(), flags) == 0 ? 0 : errno;
}

} // namespace core
