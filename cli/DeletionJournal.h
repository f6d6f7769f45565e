// The record of everything tidewell removed, so that a user can always answer "what did it
// remove?": one JSON line a path, appended to "$XDG_STATE_HOME/tidewell/deletions.jsonl" (by
// default "~/.local/state" of the user running it, whatever --home names).
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace tidewell {

class DeletionJournal {
public:
    // The journal of the user running this process.
    static std::string defaultPath();
    explicit DeletionJournal(std::string path) : path_(std::move(path)) {}

    // route: "trash", "permanent" or "shred"; result: "deleted" or the error's name.
    void append(const std::string& route, const std::string& path, std::int64_t size,
                const std::string& result);
    // The last `count` entries, oldest first; lines that are not JSON are left out.
    std::vector<nlohmann::json> last(std::size_t count) const;

private:
    std::string path_;
    // Opened at the first entry and kept for the others: a deletion of thousands of items writes a
    // line each.
    std::shared_ptr<std::ofstream> out_;
};

} // namespace tidewell
