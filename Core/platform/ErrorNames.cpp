#include "Core/platform/ErrorNames.h"

#include <cstring>

namespace core {

std::string errnoName(int error) {
    const char* name = ::strerrorname_np(error);
    return name ? name : "E" + std::to_string(error);
}

std::string errnoDescription(int error) {
    const char* text = ::strerrordesc_np(error);
    return text ? text : "Unknown error " + std::to_string(error);
}

} // namespace core
