// How fast the rule engine is: compiling a document of 5,000 rules into both indexes, and walking a
// synthetic Library of 500 applications for every application in turn, against one plain
// recursive listing of the same tree. The walk reports how many folders it listed.
#include "Core/foundation/FileManager.h"
#include "Core/rules/FileFinder.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

std::string applicationID(int index) {
    return "com.vendor" + std::to_string(index % 50) + ".app" + std::to_string(index);
}

// Every application keeps caches, logs, support files, a container and preferences, some under
// names that do not follow its identifier.
std::string document(int applications) {
    std::string yaml = R"('*':
  caches: {cache: [Lib/Caches/**]}
  logs: {log: [Lib/Logs/**]}
  support: {support: [Lib/Application Support/**], container: [Lib/Containers/**]}
  library: {preference: ['Lib/Preferences/^(?<id>.+)\.plist$']}
)";
    for (int i = 0; i < applications; ++i) {
        yaml += applicationID(i) + ":\n  ids: [App " + std::to_string(i) + "]\n  organization: Vendor" +
                std::to_string(i % 50) + "\n";
        yaml += "  caches: {cache: [Lib/Caches/Vendor" + std::to_string(i % 50) + "/App" + std::to_string(i) +
                "]}\n";
        yaml += "  logs: {log: [Lib/Logs/App " + std::to_string(i) + "]}\n";
        yaml += "  support: {support: ['Lib/Application Support/App " + std::to_string(i) + "', 'Home/.app" +
                std::to_string(i) + "'], cookie: ['Lib/HTTPStorages/*app" + std::to_string(i) + "\\..*']}\n";
    }
    return yaml;
}

core::RuleRoots rootsUnder(const fs::path& home) {
    return {"/", home.string(), (home / "Library").string(), (home / "tmp").string()};
}

void BM_LoadDocumentOf5000Rules(benchmark::State& state) {
    auto yaml = document(5000);
    for (auto _ : state)
        benchmark::DoNotOptimize(core::RuleManager::fromDocument(yaml, rootsUnder("/nowhere")));
}
BENCHMARK(BM_LoadDocumentOf5000Rules)->Unit(benchmark::kMillisecond);

void BM_BuildBothIndexesOf5000Rules(benchmark::State& state) {
    auto rules = core::RuleManager::fromDocument(document(5000), rootsUnder("/nowhere")).manager;
    for (auto _ : state) {
        core::AppFileRule full(*rules, true), cacheAndLog(*rules, false);
        benchmark::DoNotOptimize(full.nodeCount() + cacheAndLog.nodeCount());
    }
}
BENCHMARK(BM_BuildBothIndexesOf5000Rules)->Unit(benchmark::kMillisecond);

const fs::path& libraryTree() {
    static const fs::path home = [] {
        fs::path path = fs::temp_directory_path() / "core-bench-library";
        if (fs::exists(path / "done"))
            return path;
        fs::remove_all(path);
        auto touch = [](const fs::path& file) {
            fs::create_directories(file.parent_path());
            std::ofstream(file) << "x";
        };
        for (int i = 0; i < 500; ++i) {
            auto lib = path / "Library";
            auto id = applicationID(i), n = std::to_string(i);
            for (int f = 0; f < 5; ++f) {
                touch(lib / "Caches" / id / ("c" + std::to_string(f)));
                touch(lib / "Caches" / ("Vendor" + std::to_string(i % 50)) / ("App" + n) /
                      ("c" + std::to_string(f)));
                touch(lib / "Logs" / ("App " + n) / ("l" + std::to_string(f)));
                touch(lib / "Application Support" / ("App " + n) / "data" / ("s" + std::to_string(f)));
                touch(lib / "Containers" / id / "Data" / "Library" / ("k" + std::to_string(f)));
            }
            touch(lib / "Preferences" / (id + ".plist"));
            touch(lib / "HTTPStorages" / (id + ".binarycookies"));
            touch(path / (".app" + n) / "config");
        }
        std::ofstream(path / "done");
        return path;
    }();
    return home;
}

void BM_WalkForEveryApplication(benchmark::State& state) {
    auto rules = core::RuleManager::fromDocument(document(500), rootsUnder(libraryTree())).manager;
    core::AppFileRule index(*rules, true);
    std::vector<std::unordered_set<core::NodeID>> idSets;
    for (int i = 0; i < 500; ++i)
        idSets.push_back(index.matcherIDs(applicationID(i)));
    std::size_t claims = 0, listings = 0;
    for (auto _ : state) {
        core::FileFinder finder(index);
        for (const auto& ids : idSets)
            finder.walk([&](core::NodeID id) { return ids.count(id) > 0; }, [&](auto&&...) { ++claims; });
        listings = finder.listingCount();
    }
    state.counters["listings"] = static_cast<double>(listings);
    state.counters["claims/walk"] = static_cast<double>(claims) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_WalkForEveryApplication)->Unit(benchmark::kMillisecond);

std::size_t listRecursively(const core::URL& folder) {
    std::error_code error;
    std::size_t listings = 1;
    for (const auto& entry : core::urlResources(folder, core::URLIsDirectoryKey, error))
        if (entry.resourceValues.isDirectory.value_or(false))
            listings += listRecursively(entry.url);
    return listings;
}

void BM_PlainRecursiveListing(benchmark::State& state) {
    auto library = core::URL::fileURL((libraryTree() / "Library").string());
    std::size_t listings = 0;
    for (auto _ : state)
        listings = listRecursively(library);
    state.counters["listings"] = static_cast<double>(listings);
}
BENCHMARK(BM_PlainRecursiveListing)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
