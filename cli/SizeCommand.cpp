// tidewell size: the size of files and folders as the junk scan counts them.
#include "cli/Command.h"
#include "cli/CommandPaths.h"
#include "cli/JsonRecords.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"
#include "cli/UnreadableFolders.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"

#include <iostream>

namespace tidewell {
namespace {

// Why a path cannot be sized: it names nothing, or it is a folder that cannot be listed. A size of
// 0 would read as an empty file or folder.
std::optional<std::string> unreadable(const std::optional<core::URL>& url) {
    if (!url)
        return "an empty path names no file";
    std::error_code error;
    auto values = core::resourceValues(*url, core::URLIsDirectoryKey, error);
    if (values && values->isDirectory.value_or(false))
        core::urlResources(*url, core::URLNameKey, error);
    if (error)
        return error.message();
    return std::nullopt;
}

class SizeCommand final : public Command {
public:
    CLI::App* attach(CLI::App& app) override {
        auto* sub =
            app.add_subcommand("size", "size of files and folders (allocated bytes of a folder's files)");
        sub->add_option("paths", paths_, "files or folders")->required();
        return sub;
    }

    int run(const GlobalOptions& options) override {
        ProgressLine progress(options.quiet);
        UnreadableFolders unreadableBelow;
        std::vector<core::File> sizes;
        std::vector<std::string> failures;
        ScanCompletion completion;
        // Sizing runs on a scan queue under a context, as a scanner's would, so the main queue
        // stays free to show what is being sized.
        auto context = core::FileFinderContext::make([&](core::URL url) { progress.setCurrent(url.path()); });
        context->async(core::DispatchQueue::makeSerial("tidewell.size"), [&] {
            for (const auto& path : paths_) {
                auto url = commandLineURL(path);
                if (auto reason = unreadable(url))
                    failures.push_back("tidewell: size: " + printable(path) + ": " + *reason);
                else
                    sizes.push_back({*url, core::size(*url)});
            }
            completion.mark();
        });
        completion.wait();
        progress.finish();
        for (const auto& failure : failures)
            std::cerr << failure << '\n';
        print(sizes, options.json);
        if (!options.json)
            unreadableBelow.printSummary(std::cout);
        return failures.empty() ? 0 : 2;
    }

private:
    static void print(const std::vector<core::File>& sizes, bool json) {
        if (json) {
            std::cout << toJsonArray(sizes).dump(2) << '\n';
            return;
        }
        std::vector<std::vector<std::string>> rows;
        for (const auto& file : sizes)
            rows.push_back({printable(file.url.path()), file.sizeString(), counted(file.size, "byte")});
        printTable(rows);
    }

    std::vector<std::string> paths_;
};

} // namespace

std::unique_ptr<Command> makeSizeCommand() {
    return std::make_unique<SizeCommand>();
}

} // namespace tidewell
