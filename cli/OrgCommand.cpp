// tidewell org: the organisation, vendor and group of bundle identifiers.
#include "cli/Command.h"
#include "cli/JsonBytes.h"
#include "cli/Resources.h"
#include "cli/Terminal.h"

#include "Core/rules/AppGroupManager.h"
#include "Core/rules/PublicSuffixList.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace tidewell {
namespace {

// What the documents say about one bundle identifier.
struct Naming {
    std::string id;
    std::optional<std::string> organization;
    std::string vendor;
    std::optional<std::string> group;
};

nlohmann::json orNull(const std::optional<std::string>& value) {
    return value ? jsonBytes(*value) : nullptr;
}

std::string orDash(const std::optional<std::string>& value) {
    return value ? printable(*value) : "-";
}

nlohmann::json toJson(const Naming& naming) {
    return {{"id", jsonBytes(naming.id)},
            {"organization", orNull(naming.organization)},
            {"vendor", jsonBytes(naming.vendor)},
            {"group", orNull(naming.group)}};
}

void printHuman(const Naming& naming) {
    std::cout << printable(naming.id) << "  organization: " << orDash(naming.organization)
              << "  vendor: " << printable(naming.vendor) << "  group: " << orDash(naming.group) << '\n';
}

class OrgCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("org", "organisation, vendor and group of bundle identifiers");
        sub->add_option("ids", ids_, "bundle identifiers")->required();
        return sub;
    }

    int run(const GlobalOptions& options) override {
        requireOrganisationResources();
        const auto& suffixes = core::PublicSuffixList::shared();
        const auto& groups = core::AppGroupManager::shared();
        std::vector<Naming> namings;
        for (const auto& id : ids_) {
            auto group = groups.getGroup(id);
            namings.push_back({id, suffixes.organization(id), core::rawName(groups.getVender(id)),
                               group ? std::optional(group->groupName()) : std::nullopt});
        }
        if (options.json) {
            auto report = nlohmann::json::array();
            for (const auto& naming : namings)
                report.push_back(toJson(naming));
            std::cout << report.dump(2) << '\n';
            return 0;
        }
        for (const auto& naming : namings)
            printHuman(naming);
        return 0;
    }

private:
    std::vector<std::string> ids_;
};

} // namespace

std::unique_ptr<Command> makeOrgCommand() {
    return std::make_unique<OrgCommand>();
}

} // namespace tidewell
