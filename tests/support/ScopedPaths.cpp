// The guards that point the process-wide paths and mount table at a test's own trees.
#include "tests/support/TempTree.h"

#include "Core/platform/MountedVolumes.h"

#include <fstream>

namespace core::testing {

ScopedSystemPaths::ScopedSystemPaths(const std::string& root, const std::string& home)
    : previousRoot_(SystemPaths::shared().root()), previousHome_(SystemPaths::shared().home()) {
    SystemPaths::shared().configure(root, home);
}

ScopedSystemPaths::~ScopedSystemPaths() {
    SystemPaths::shared().configure(previousRoot_, previousHome_);
}

ScopedMountTable::ScopedMountTable(const std::vector<std::string>& mountPoints) {
    std::ofstream table(folder_.file("mountinfo"));
    int id = 40;
    for (const auto& point : mountPoints)
        table << id++ << " 1 8:1 / " << point << " rw,relatime - ext4 /dev/sdz1 rw\n";
    setMountInfoFile(folder_.at("mountinfo"));
}

ScopedMountTable::~ScopedMountTable() {
    setMountInfoFile("");
}

} // namespace core::testing
