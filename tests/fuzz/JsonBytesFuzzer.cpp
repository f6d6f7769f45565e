// Paths are bytes, and JSON output must carry any of them without loss: every byte string comes
// back exactly from the JSON text written for it, and reading JSON that someone else wrote never
// crashes and never yields bytes that do not write back to the same value.
#include "cli/JsonBytes.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    auto written = nlohmann::json::parse(tidewell::jsonBytes(bytes).dump());
    if (tidewell::bytesFromJson(written) != bytes)
        __builtin_trap();
    auto foreign = nlohmann::json::parse(bytes, nullptr, false);
    if (foreign.is_discarded())
        return 0;
    if (auto read = tidewell::bytesFromJson(foreign); read && tidewell::jsonBytes(*read) != foreign)
        __builtin_trap();
    return 0;
}
