// tidewell leftovers: the traces of applications that are gone, and with --files what each left.
#include "cli/AppScanSession.h"
#include "cli/Command.h"
#include "cli/JsonBytes.h"
#include "cli/JsonRecords.h"

#include <iostream>

namespace tidewell {
namespace {

class LeftoversCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("leftovers", "identifiers of applications that are gone");
        sub->add_flag("--files", withFiles_, "also the files of every listed identifier");
        sub->add_option("--exclude-id", excluded_, "leave this identifier out")
            ->allow_extra_args(false)
            ->take_all();
        return sub;
    }

    int run(const GlobalOptions& options) override {
        auto session = AppScanSession::make(options.quiet);
        // What installed applications take is marked first, so that it is not offered again.
        session->scanFiles(session->scanApps());
        auto ids = session->scanLeftoverIDs(excluded_);
        std::map<std::string, std::vector<core::AppFile>> files;
        if (withFiles_)
            files = session->scanLeftoverFiles(ids);
        if (options.json) {
            std::vector<std::string> names;
            for (const auto& id : ids)
                names.push_back(id.origin());
            // An identifier may be any bytes, so it cannot be an object key.
            auto byID = nlohmann::json::array();
            for (const auto& [id, list] : files)
                byID.push_back({{"id", jsonBytes(id)}, {"files", toJsonArray(list)}});
            std::cout << nlohmann::json{{"ids", jsonBytesArray(names)}, {"files", byID}}.dump(2) << '\n';
            return 0;
        }
        for (const auto& id : ids) {
            std::cout << printable(id.origin()) << '\n';
            if (auto found = files.find(id.origin()); found != files.end())
                printFilesByKind(found->second);
        }
        std::cout << counted(ids.size(), "leftover identifier") << '\n';
        return 0;
    }

private:
    bool withFiles_ = false;
    std::vector<std::string> excluded_;
};

} // namespace

std::unique_ptr<Command> makeLeftoversCommand() {
    return std::make_unique<LeftoversCommand>();
}

} // namespace tidewell
