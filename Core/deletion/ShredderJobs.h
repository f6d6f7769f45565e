// The small operations the file deleter uses for what a plain unlink cannot do: clearing the
// protection flags of a tree, removing a tree with the system's own remover, and shredding. The
// first two run the system's tools as child processes and wait for them; commands go through the
// platform's command table, so that tests can put scripts in their place.
//
// Threading: the plain functions block their caller until the work is done; shredFile calls back
// on the main queue.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace core {

// Runs `launchPath` with `arguments` and `path` last, and waits: true when it ended with status
// 0. False without running anything when `path` is absent.
bool executeShredderJobWith(const std::string& launchPath, const std::vector<std::string>& arguments,
                            const std::optional<std::string>& path);

// Clears the immutable and append-only flags of everything below and including `path`.
bool UnlockFolder(const std::string& path);
// Overwrites and removes `path`, a folder recursively; true for a path that does not exist.
bool ShredFile(const std::string& path);
// Removes `path` recursively without leaving its file system.
bool DeleteFolder(const std::string& path);

// Shreds one file on a background queue and calls `complete` on the main queue. What this process
// may not shred goes to the privileged helper; without one, the answer is false.
void shredFile(const std::string& path, std::function<void(bool)> complete);

} // namespace core
