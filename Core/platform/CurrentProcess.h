// Facts about, and requests of, the process the library runs in.
//
// Threading: may be called from any thread.
#pragma once

#include <cstdint>

namespace core {

// The real user id of the process: whose trash folders and files a scan looks at.
std::uint32_t currentUserID();

// Hands memory the allocator keeps for reuse back to the system, after a search that built a
// large model has released it.
void trimMemory();

} // namespace core
