// The public suffix list is read from the resources folder, where anything may have been put. The
// first line of the input also serves as a bundle identifier to look up.
#include "Core/rules/PublicSuffixList.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    core::PublicSuffixList list(text);
    list.organization(text.substr(0, text.find('\n')));
    list.organization("com.example.app");
    list.organization("uk.co.example.app");
    return 0;
}
