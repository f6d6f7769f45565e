// Property lists come from any bundle on the disk, XML or binary, of any size and nesting.
#include "Core/platform/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    core::parsePropertyList(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
