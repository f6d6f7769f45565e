// "~/.config/user-dirs.dirs" belongs to the user and may hold anything. The reader must not
// crash on it, and whatever it names, the downloads folder the library settles on lies inside the
// home folder: a scan of it never reaches the rest of the machine.
#include "Core/platform/ConfinedPath.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/UserDirs.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/TempTree.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    core::userDirsDownloadFolder(std::string_view(reinterpret_cast<const char*>(data), size));
    static const core::testing::TempTree home;
    static const std::string settings = home.folder(".config") + "/user-dirs.dirs";
    core::fuzzing::writeInput(settings, data, size);
    auto downloads = core::SystemPaths(home.at("root"), home.path()).downloadsDirectory();
    if (!core::isSameOrBelow(downloads, home.path()) || downloads == home.path())
        __builtin_trap();
    return 0;
}
