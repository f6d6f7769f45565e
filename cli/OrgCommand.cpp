// tidewell org: the organisation, vendor and group of bundle identifiers.
#include "cli/Command.h"
#include "cli/Resources.h"

#include "Core/rules/AppGroupManager.h"
#include "Core/rules/PublicSuffixList.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace tidewell {
namespace {

nlohmann::json orNull(const std::optional<std::string>& value) {
    return value ? nlohmann::json(*value) : nullptr;
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
        auto report = nlohmann::json::array();
        for (const auto& id : ids_) {
            auto group = groups.getGroup(id);
            report.push_back({{"id", id},
                              {"organization", orNull(suffixes.organization(id))},
                              {"vendor", core::rawName(groups.getVender(id))},
                              {"group", orNull(group ? std::optional(group->groupName()) : std::nullopt)}});
        }
        if (options.json) {
            std::cout << report.dump(2) << '\n';
            return 0;
        }
        for (const auto& entry : report)
            std::cout << entry["id"].get<std::string>() << "  organization: "
                      << (entry["organization"].is_null() ? "-" : entry["organization"].get<std::string>())
                      << "  vendor: " << entry["vendor"].get<std::string>()
                      << "  group: " << (entry["group"].is_null() ? "-" : entry["group"].get<std::string>())
                      << '\n';
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
