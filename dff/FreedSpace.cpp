#include "dff/FreedSpace.h"

#include "dff/FolderListing.h"

#include <unordered_map>

namespace dff {
namespace {

// The files about to be removed, each once with the number of its names among them, and the bytes
// of the folders about to be removed.
class Removal {
public:
    void add(const Path& path) {
        FileStatus status;
        if (statusOf(path, status) != 0)
            return;
        if (status.kind == EntryKind::folder)
            addFolder(path);
        else
            addFile(status);
    }

    long long freed() const {
        long long bytes = folderBytes_;
        for (const auto& [id, file] : files_)
            if (file.names >= file.status.links)
                bytes += file.status.allocated;
        return bytes;
    }

private:
    struct Named {
        FileStatus status;
        std::uint64_t names = 0;
    };

    void addFile(const FileStatus& status) {
        auto& file = files_[fileIDOf(status)];
        file.status = status;
        ++file.names;
    }

    void addFolder(const Path& top) {
        std::vector<Path> folders = {top};
        while (!folders.empty()) {
            Path folder = std::move(folders.back());
            folders.pop_back();
            FolderListing listing(folder);
            FileStatus status;
            if (listing.error() || listing.status(status) != 0)
                continue;
            folderBytes_ += status.allocated;
            const char* name;
            EntryKind kind;
            while (listing.next(name, kind))
                if (kind == EntryKind::folder)
                    folders.push_back(folder / name);
                else if (listing.status(name, status) == 0)
                    addFile(status);
        }
    }

    std::unordered_map<FileID, Named, FileIDHash> files_;
    long long folderBytes_ = 0;
};

} // namespace

long long bytesFreedByRemovingAllButFirst(const std::vector<Path>& members) {
    Removal removal;
    for (std::size_t i = 1; i < members.size(); ++i)
        removal.add(members[i]);
    return removal.freed();
}

} // namespace dff
