// The shipped rule document is enciphered; a damaged or foreign file in the resources folder must
// be refused or loaded, never crash the host.
#include "Core/rules/RuleManager.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/TempTree.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const core::testing::TempTree folder;
    static const std::string document = folder.at("ruleInfo.txt");
    core::fuzzing::writeInput(document, data, size);
    core::RuleManager::fromEncryptedFile(document, core::fuzzing::ruleRoots());
    return 0;
}
