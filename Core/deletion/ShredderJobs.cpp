#include "Core/deletion/ShredderJobs.h"

#include "Core/foundation/Analytics.h"
#include "Core/platform/Dispatch.h"
#include "Core/platform/Process.h"
#include "Core/platform/Shredder.h"

namespace core {

bool executeShredderJobWith(const std::string& launchPath, const std::vector<std::string>& arguments,
                            const std::optional<std::string>& path) {
    if (!path)
        return false;
    auto withPath = arguments;
    withPath.push_back(*path);
    auto status = runCommand(launchPath, withPath);
    if (status.ending == TaskStatus::Ending::notStarted)
        analytics()->log("Error launching task: " + launchPath, 3);
    return status.succeeded();
}

bool UnlockFolder(const std::string& path) {
    return executeShredderJobWith("/usr/bin/chattr", {"-R", "-i", "-a"}, path);
}

// Overwriting is done in this process: no tool of the system overwrites a tree without following
// its links.
bool ShredFile(const std::string& path) {
    return shredPath(path) == 0;
}

bool DeleteFolder(const std::string& path) {
    return executeShredderJobWith("/bin/rm", {"-rf", "--one-file-system", "--"}, path);
}

void shredFile(const std::string& path, std::function<void(bool)> complete) {
    DispatchQueue::global()->async([path, complete = std::move(complete)] {
        bool shredded = ShredFile(path);
        // The privileged helper takes over what this process may not shred, once it is installed;
        // until then a failure here is the answer.
        DispatchQueue::main()->async([complete, shredded] { complete(shredded); });
    });
}

} // namespace core
