// The JSON shapes of found records, shared by every subcommand that prints them.
#pragma once

#include "Core/foundation/AppFile.h"

#include <nlohmann/json.hpp>

namespace tidewell {

// "bundleID", "bundleName", "organization" or "app".
const char* ownerType(const core::App& owner);

// {"path": P, "size": N}
nlohmann::json toJson(const core::File& file);
// {"path": P, "size": N, "kind": K, "owner": {"type": T, "id": S}}
nlohmann::json toJson(const core::AppFile& file);

template <class Record> nlohmann::json toJsonArray(const std::vector<Record>& records) {
    auto array = nlohmann::json::array();
    for (const auto& record : records)
        array.push_back(toJson(record));
    return array;
}

} // namespace tidewell
