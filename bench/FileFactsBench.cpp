// How fast the file facts that every scan stands on are: the size of a folder tree, and listing a
// folder with the values a category asks for. Runs on a tree it generates under $TMPDIR.
#include "Core/foundation/FileManager.h"
#include "Core/platform/FileInfo.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

// 20 folders of 50 subfolders of 20 small files: 20,000 files.
const fs::path& benchTree() {
    static const fs::path root = [] {
        fs::path path = fs::temp_directory_path() / "core-bench-tree";
        if (fs::exists(path / "done"))
            return path;
        fs::remove_all(path);
        for (int a = 0; a < 20; ++a)
            for (int b = 0; b < 50; ++b) {
                fs::path folder = path / std::to_string(a) / std::to_string(b);
                fs::create_directories(folder);
                for (int c = 0; c < 20; ++c)
                    std::ofstream(folder / std::to_string(c)) << std::string(100 + c * 50, 'x');
            }
        std::ofstream(path / "done");
        return path;
    }();
    return root;
}

void BM_GetDirectorySize(benchmark::State& state) {
    const std::string path = benchTree().string();
    std::int64_t total = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(total = core::GetDirectorySize(path.c_str(), nullptr, nullptr));
    state.counters["files/s"] = benchmark::Counter(20000.0 * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_GetDirectorySize)->Unit(benchmark::kMillisecond);

void BM_ListFolderWithSizes(benchmark::State& state) {
    const auto folder = core::URL::fileURL((benchTree() / "0" / "0").string());
    for (auto _ : state) {
        std::error_code error;
        benchmark::DoNotOptimize(
            core::urlResources(folder, core::URLFileSizeKey | core::URLIsDirectoryKey, error));
    }
    state.SetItemsProcessed(20 * state.iterations());
}
BENCHMARK(BM_ListFolderWithSizes);

} // namespace

BENCHMARK_MAIN();
