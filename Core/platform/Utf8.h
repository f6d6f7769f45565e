// Whether bytes are valid UTF-8 text, for the services that turn outside bytes into text.
#pragma once

#include <string>

namespace core {

bool isValidUtf8(const std::string& bytes);

} // namespace core
