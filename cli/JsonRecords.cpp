#include "cli/JsonRecords.h"

#include "cli/JsonBytes.h"

namespace tidewell {
const char* ownerType(const core::App& owner) {
    if (owner.type == core::App::Type::app)
        return "app";
    switch (owner.macAppID.type) {
    case core::MacAppID::Type::bundleID:
        return "bundleID";
    case core::MacAppID::Type::bundleName:
        return "bundleName";
    case core::MacAppID::Type::organization:
        return "organization";
    }
    return "bundleID";
}

nlohmann::json toJson(const core::File& file) {
    return {{"path", jsonBytes(file.url.path())}, {"size", file.size}};
}

nlohmann::json toJson(const core::AppFile& file) {
    return {{"path", jsonBytes(file.url.path())},
            {"size", file.size},
            {"kind", file.kind.key()},
            {"owner", {{"type", ownerType(file.owner)}, {"id", jsonBytes(file.owner.id().origin())}}}};
}

} // namespace tidewell
