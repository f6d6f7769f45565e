// tidewell apps: the installed applications, as the application scan finds them.
#include "cli/AppScanSession.h"
#include "cli/Command.h"
#include "cli/JsonBytes.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace tidewell {
namespace {

class AppsCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        return app.add_subcommand("apps", "the installed applications with their bundles");
    }

    int run(const GlobalOptions& options) override {
        auto session = AppScanSession::make(options.quiet);
        const auto& apps = session->scanApps();
        std::map<std::string, std::vector<std::string>> sorted;
        for (const auto& [id, bundles] : apps)
            for (const auto& bundle : bundles)
                sorted[id.origin()].push_back(bundle.get()->url().path());
        std::vector<std::string> subApps;
        for (const auto& id : session->subApps)
            subApps.push_back(id.origin());
        // Each application that a sub-application is part of reports it.
        std::sort(subApps.begin(), subApps.end());
        subApps.erase(std::unique(subApps.begin(), subApps.end()), subApps.end());
        if (options.json) {
            auto list = nlohmann::json::array();
            for (const auto& [id, paths] : sorted)
                list.push_back({{"id", jsonBytes(id)}, {"paths", jsonBytesArray(paths)}});
            std::cout << nlohmann::json{{"apps", list}, {"subApps", jsonBytesArray(subApps)}}.dump(2) << '\n';
            return 0;
        }
        for (const auto& [id, paths] : sorted) {
            std::cout << printable(id) << '\n';
            for (const auto& path : paths)
                std::cout << "  " << printable(path) << '\n';
        }
        std::cout << counted(sorted.size(), "application");
        if (!subApps.empty()) {
            std::cout << "; part of another:";
            for (const auto& id : subApps)
                std::cout << ' ' << printable(id);
        }
        std::cout << '\n';
        return 0;
    }
};

} // namespace

std::unique_ptr<Command> makeAppsCommand() {
    return std::make_unique<AppsCommand>();
}

} // namespace tidewell
