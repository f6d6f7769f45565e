// tidewell app-files: every file of the chosen applications, by kind and owner.
#include "cli/AppScanSession.h"
#include "cli/Command.h"
#include "cli/JsonBytes.h"
#include "cli/JsonRecords.h"

#include <iostream>

namespace tidewell {
namespace {

class AppFilesCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("app-files", "every file of the chosen applications (default: all)");
        sub->add_option("ids", ids_, "bundle identifiers");
        return sub;
    }

    int run(const GlobalOptions& options) override {
        auto session = AppScanSession::make(options.quiet);
        auto apps = session->scanApps();
        if (!ids_.empty()) {
            core::AppBundles chosen;
            for (const auto& id : ids_) {
                auto found = apps.find(core::CaseInsensitiveString(id));
                if (found == apps.end())
                    throw UsageError("no installed application has the identifier " + id);
                chosen.insert(*found);
            }
            apps = std::move(chosen);
        }
        const auto& files = session->scanFiles(apps);
        if (options.json) {
            auto list = nlohmann::json::array();
            for (const auto& [id, set] : files)
                list.push_back({{"id", jsonBytes(id)},
                                {"apps", toJsonArray(set.apps)},
                                {"files", toJsonArray(set.files)}});
            std::cout << list.dump(2) << '\n';
            return 0;
        }
        for (const auto& [id, set] : files)
            printAppFiles(id, set);
        return 0;
    }

private:
    std::vector<std::string> ids_;
};

} // namespace

std::unique_ptr<Command> makeAppFilesCommand() {
    return std::make_unique<AppFilesCommand>();
}

} // namespace tidewell
