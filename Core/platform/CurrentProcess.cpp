#include "Core/platform/CurrentProcess.h"

#include <malloc.h>
#include <unistd.h>

namespace core {

std::uint32_t currentUserID() {
    return ::getuid();
}

void trimMemory() {
    ::malloc_trim(0);
}

} // namespace core
