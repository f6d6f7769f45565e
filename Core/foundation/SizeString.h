// Byte counts as people read them, in the style of the Linux desktop: decimal units, one decimal
// place above a kilobyte ("1.5 MB"), whole bytes below ("1 byte", "999 bytes").
#pragma once

#include <cstdint>
#include <string>

namespace core {

std::string sizeString(std::int64_t bytes);

} // namespace core
