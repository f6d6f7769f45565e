// tidewell size: the size of files and folders as the junk scan counts them.
#include "cli/Command.h"
#include "cli/JsonRecords.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"

#include "Core/foundation/FileFinderContext.h"
#include "Core/foundation/FileManager.h"

#include <filesystem>
#include <iostream>

namespace tidewell {
namespace {

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
        std::vector<core::File> sizes;
        ScanCompletion completion;
        // Sizing runs on a scan queue under a context, as a scanner's would, so the main queue
        // stays free to show what is being sized.
        auto context = core::FileFinderContext::make([&](core::URL url) { progress.setCurrent(url.path()); });
        context->async(core::DispatchQueue::makeSerial("tidewell.size"), [&] {
            for (const auto& path : paths_) {
                auto url = core::URL::fileURL(std::filesystem::absolute(path).lexically_normal().string());
                sizes.push_back({url, core::size(url)});
            }
            completion.mark();
        });
        completion.wait();
        progress.finish();
        if (options.json) {
            std::cout << toJsonArray(sizes).dump(2) << '\n';
            return 0;
        }
        std::vector<std::vector<std::string>> rows;
        for (const auto& file : sizes)
            rows.push_back({printable(file.url.path()), file.sizeString(), counted(file.size, "byte")});
        printTable(rows);
        return 0;
    }

private:
    std::vector<std::string> paths_;
};

} // namespace

std::unique_ptr<Command> makeSizeCommand() {
    return std::make_unique<SizeCommand>();
}

} // namespace tidewell
