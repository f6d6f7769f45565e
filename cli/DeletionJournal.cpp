#include "cli/DeletionJournal.h"

#include "cli/JsonBytes.h"

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>

namespace tidewell {
namespace {

std::string utcNow() {
    auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

} // namespace

std::string DeletionJournal::defaultPath() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    std::string folder = state && *state == '/' ? state : std::string(home ? home : "/") + "/.local/state";
    return folder + "/tidewell/deletions.jsonl";
}

void DeletionJournal::append(const std::string& route, const std::string& path, std::int64_t size,
                             const std::string& result) {
    if (!out_) {
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), ignored);
        out_ = std::make_shared<std::ofstream>(path_, std::ios::app);
    }
    *out_ << nlohmann::json{{"time", utcNow()},
                            {"route", route},
                            {"path", jsonBytes(path)},
                            {"size", size},
                            {"result", result}}
                 .dump()
          << std::endl;
}

std::vector<nlohmann::json> DeletionJournal::last(std::size_t count) const {
    std::deque<nlohmann::json> entries;
    std::ifstream in(path_);
    for (std::string line; std::getline(in, line);) {
        auto entry = nlohmann::json::parse(line, nullptr, false);
        if (entry.is_discarded() || !entry.is_object())
            continue;
        entries.push_back(std::move(entry));
        if (entries.size() > count)
            entries.pop_front();
    }
    return {entries.begin(), entries.end()};
}

} // namespace tidewell
