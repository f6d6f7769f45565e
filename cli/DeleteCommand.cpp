// tidewell delete: moves what the user names to the trash, deletes it or shreds it, through the
// library's Deleter, after showing what will go.
#include "cli/Command.h"
#include "cli/DeletionJournal.h"
#include "cli/DeletionPlan.h"
#include "cli/JsonBytes.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"

#include "Core/deletion/Deleter.h"
#include "Core/foundation/SizeString.h"
#include "Core/platform/Dispatch.h"
#include "Core/platform/ErrorNames.h"
#include "Core/platform/Shredder.h"
#include "Core/platform/SystemPaths.h"
#include "Core/platform/Terminal.h"
#include "Core/platform/Text.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <map>

namespace tidewell {
namespace {

struct Outcome {
    bool deleted = false;
    int error = 0; // 0 with deleted false: the helper was needed and could not be reached
};

class DeleteReport final : public core::DeleterDelegate {
public:
    DeleteReport(bool quiet, DeletionJournal journal, std::string route,
                 std::map<std::string, std::int64_t> sizes)
        : progress(quiet), journal_(std::move(journal)), route_(std::move(route)), sizes_(std::move(sizes)) {}

    void deleterCurrent(const std::string& path) override { progress.setCurrent(path); }
    void deleterProgress(double value) override { progress.setFraction(value); }
    void deleterDeleted(const std::string& path, const std::optional<std::string>&) override {
        record(path, {true, 0});
    }
    void deleterDeleteFailed(const std::string& path, std::int32_t error) override {
        record(path, {false, error});
    }
    void deleterPhotoFailed(bool, std::function<void(bool)> reply) override { reply(false); }
    void deleterCompleted() override { completion.mark(); }

    static std::string resultName(const Outcome& outcome) {
        if (outcome.deleted)
            return "deleted";
        return outcome.error ? core::errnoName(outcome.error) : "needs the helper";
    }

    ProgressLine progress;
    ScanCompletion completion;
    std::vector<std::pair<std::string, Outcome>> outcomes;
    bool purgeableSpaceCleaned = false;

private:
    void record(const std::string& path, Outcome outcome) {
        auto size = sizes_.find(path);
        // Only planned items are deleted ("/" is always refused): the one other report is the
        // purgeable space the system was asked to give back, which it names "/".
        if (size == sizes_.end()) {
            purgeableSpaceCleaned = outcome.deleted;
            return;
        }
        outcomes.emplace_back(path, outcome);
        journal_.append(route_, path, size->second, resultName(outcome));
    }

    DeletionJournal journal_;
    std::string route_;
    std::map<std::string, std::int64_t> sizes_;
};

class DeleteCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub = app.add_subcommand("delete", "move to the trash, delete or shred the given paths");
        sub->add_option("paths", paths_, "files or folders");
        auto* permanent = sub->add_flag("--permanent", permanent_, "delete instead of moving to the trash");
        sub->add_flag("--shred", shred_, "overwrite files before deleting them")->excludes(permanent);
        sub->add_flag("--dry-run", dryRun_, "show what would go, change nothing");
        sub->add_flag("--yes", yes_, "do not ask for confirmation");
        sub->add_option("--from", from_,
                        "the --json result of junk, large, leftovers --files, app-files or dupes");
        sub->add_option("--select", select_, "only the records under these top-level keys of --from")
            ->delimiter(',');
        sub->add_flag("--log", log_, "show the last entries of the deletion journal");
        return sub;
    }

    int run(const GlobalOptions& options) override {
        DeletionJournal journal(DeletionJournal::defaultPath());
        if (log_)
            return printJournal(journal, options);
        auto plan = collect();
        if (dryRun_ || !options.json)
            printPlan(plan, options);
        if (plan.items.empty() && !plan.cleanPurgeableSpace)
            throw UsageError("nothing to delete");
        if (dryRun_)
            return 0;
        if (!confirmed(plan))
            return 1;
        warnAboutShredding(plan);
        return carryOut(plan, journal, options);
    }

private:
    DeletionPlan collect() const {
        if (paths_.empty() == from_.empty())
            throw UsageError("name the paths to delete, or a result with --from, not both");
        std::vector<std::string> paths;
        bool purgeable = false;
        if (!from_.empty()) {
            std::ifstream in(from_);
            if (!in)
                throw UsageError("cannot read " + from_);
            auto result = nlohmann::json::parse(in, nullptr, false);
            if (result.is_discarded())
                throw UsageError(from_ + " is not JSON");
            paths = pathsFromResult(result, select_, purgeable);
        } else {
            for (const auto& path : paths_)
                paths.push_back(absoluteArgument(path));
        }
        auto& systemPaths = core::SystemPaths::shared();
        for (const auto& path : paths)
            refuseProtected(path, {"/", systemPaths.root(), systemPaths.home()});
        auto plan = makePlan(paths, !from_.empty());
        plan.cleanPurgeableSpace = purgeable;
        return plan;
    }

    std::string route() const { return shred_ ? "shred" : permanent_ ? "permanent" : "trash"; }

    void printPlan(const DeletionPlan& plan, const GlobalOptions& options) const {
        if (options.json) {
            auto items = nlohmann::json::array();
            for (const auto& item : plan.items)
                items.push_back({{"path", jsonBytes(item.path)}, {"size", item.size}});
            std::cout
                << nlohmann::json{{"plan", items}, {"total", plan.totalSize()}, {"route", route()}}.dump(2)
                << '\n';
            return;
        }
        std::vector<std::vector<std::string>> rows;
        for (const auto& item : plan.items)
            rows.push_back({core::sizeString(item.size), printable(item.path)});
        printTable(rows);
        for (const auto& skipped : plan.skipped)
            std::cout << "skipped " << printable(skipped.path) << ": " << skipped.reason << '\n';
        std::cout << counted(static_cast<std::int64_t>(plan.items.size()), "item") << ", "
                  << core::sizeString(plan.totalSize()) << ", "
                  << (shred_       ? "to be shredded"
                      : permanent_ ? "to be deleted permanently"
                                   : "to go to the trash")
                  << '\n';
    }

    bool confirmed(const DeletionPlan& plan) const {
        if (yes_)
            return true;
        if (!core::isTerminal(core::StandardStream::input))
            throw UsageError("refusing to delete without --yes: no terminal to confirm on");
        std::cerr << "Delete " << counted(static_cast<std::int64_t>(plan.items.size()), "item") << "? [y/N] ";
        std::string answer;
        std::getline(std::cin, answer);
        return answer == "y" || answer == "Y" || answer == "yes";
    }

    void warnAboutShredding(const DeletionPlan& plan) const {
        if (!shred_)
            return;
        for (const auto& item : plan.items)
            if (!core::overwriteIsReliable(core::splitLastComponent(item.path).folder)) {
                std::cerr
                    << "tidewell: warning: on this disk or file system an overwrite in place may leave the "
                       "old content elsewhere (copy-on-write, compressed or solid-state storage)\n";
                return;
            }
    }

    int carryOut(const DeletionPlan& plan, const DeletionJournal& journal,
                 const GlobalOptions& options) const {
        std::vector<std::string> files;
        std::map<std::string, std::int64_t> sizes;
        for (const auto& item : plan.items) {
            files.push_back(item.path);
            sizes[item.path] = item.size;
        }
        auto report = std::make_shared<DeleteReport>(options.quiet, journal, route(), sizes);
        auto deleter = core::Deleter::make(files, {}, std::nullopt, {}, plan.cleanPurgeableSpace);
        deleter->delegate = report;
        deleter->isMoveToTrash = !permanent_ && !shred_;
        deleter->isShredder = shred_;
        deleter->start();
        report->completion.wait();
        report->progress.finish();
        return printOutcome(*report, sizes, options);
    }

    int printOutcome(const DeleteReport& report, const std::map<std::string, std::int64_t>& sizes,
                     const GlobalOptions& options) const {
        std::int64_t freed = 0;
        int failed = 0, helper = 0;
        bool noTrash = false;
        auto results = nlohmann::json::array();
        for (const auto& [path, outcome] : report.outcomes) {
            if (outcome.deleted && sizes.count(path))
                freed += sizes.at(path);
            failed += !outcome.deleted;
            helper += !outcome.deleted && outcome.error == 0;
            noTrash |= outcome.error == EXDEV;
            nlohmann::json error = outcome.deleted || outcome.error == 0
                                       ? nlohmann::json(nullptr)
                                       : nlohmann::json(core::errnoName(outcome.error));
            results.push_back({{"path", jsonBytes(path)}, {"deleted", outcome.deleted}, {"error", error}});
            if (!outcome.deleted && outcome.error == 0)
                results.back()["needsHelper"] = true;
            if (!options.json)
                std::cout << (outcome.deleted ? "deleted " : "failed  ") << printable(path)
                          << (outcome.deleted ? "" : ": " + DeleteReport::resultName(outcome)) << '\n';
        }
        if (options.json) {
            nlohmann::json out{{"results", results}, {"completed", true}, {"freed", freed}};
            if (report.purgeableSpaceCleaned)
                out["purgeableSpaceCleaned"] = true;
            std::cout << out.dump(2) << '\n';
        } else {
            std::cout << counted(static_cast<std::int64_t>(report.outcomes.size()) - failed, "item")
                      << " deleted, " << failed << " failed (" << helper
                      << " needed the helper, which is not installed); " << core::sizeString(freed)
                      << " freed\n";
            if (noTrash)
                std::cout << "some items are on a volume without a usable trash: --permanent deletes them\n";
            if (report.purgeableSpaceCleaned)
                std::cout << "purgeable space given back\n";
        }
        return failed ? 1 : 0;
    }

    static int printJournal(const DeletionJournal& journal, const GlobalOptions& options) {
        auto entries = journal.last(50);
        if (options.json) {
            std::cout << nlohmann::json(entries).dump(2) << '\n';
            return 0;
        }
        std::vector<std::vector<std::string>> rows;
        for (const auto& entry : entries) {
            auto path = bytesFromJson(entry.value("path", nlohmann::json()));
            rows.push_back({entry.value("time", ""), entry.value("route", ""), entry.value("result", ""),
                            core::sizeString(entry.value("size", std::int64_t{0})),
                            printable(path.value_or("?"))});
        }
        printTable(rows);
        return 0;
    }

    std::vector<std::string> paths_, select_;
    std::string from_;
    bool permanent_ = false, shred_ = false, dryRun_ = false, yes_ = false, log_ = false;
};

} // namespace

std::unique_ptr<Command> makeDeleteCommand() {
    return std::make_unique<DeleteCommand>();
}

} // namespace tidewell
