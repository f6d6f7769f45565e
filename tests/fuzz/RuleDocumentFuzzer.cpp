// A rule document is written by hand; whatever its text, loading it either gives rules or says
// why not. The identifiers asked for afterwards run the document's expressions.
#include "Core/rules/RuleManager.h"
#include "tests/fuzz/FuzzInput.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto loaded = core::RuleManager::fromDocument(std::string(reinterpret_cast<const char*>(data), size),
                                                  core::fuzzing::ruleRoots());
    if (loaded.manager) {
        loaded.manager->extraInfo("com.example.app");
        loaded.manager->extraInfo("group.com.example.app.helper");
    }
    return 0;
}
