// "~/.config/user-dirs.dirs" belongs to the user and may hold anything; the downloads folder read
// from it must still be a folder name, found without crashing.
#include "Core/platform/SystemPaths.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/TempTree.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const core::testing::TempTree home;
    static const std::string settings = home.folder(".config") + "/user-dirs.dirs";
    core::fuzzing::writeInput(settings, data, size);
    core::SystemPaths(home.at("root"), home.path()).downloadsDirectory();
    return 0;
}
