// tidewell org: the organisation, vendor and group of bundle identifiers.
#include "cli/Command.h"

#include "Core/platform/SystemPaths.h"
#include "Core/rules/AppGroupManager.h"
#include "Core/rules/PublicSuffixList.h"

#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace tidewell {
namespace {

std::string readResource(const std::string& name) {
    auto path = core::SystemPaths::shared().resourcesDirectory() + "/" + name;
    std::ifstream in(path);
    if (!in)
        throw UsageError("cannot read the resource " + path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

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
        // Loaded here rather than through the process-wide objects, so that a missing or broken
        // document is reported as bad input.
        core::PublicSuffixList suffixes(readResource("public_suffix_list.dat"));
        auto groups = core::AppGroupManager::fromDocuments(readResource("app_vender.yaml"),
                                                           readResource("app_group.yaml"));
        if (!groups.manager)
            throw UsageError(groups.error);
        auto report = nlohmann::json::array();
        for (const auto& id : ids_) {
            auto group = groups.manager->getGroup(id);
            report.push_back({{"id", id},
                              {"organization", orNull(suffixes.organization(id))},
                              {"vendor", core::rawName(groups.manager->getVender(id))},
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
