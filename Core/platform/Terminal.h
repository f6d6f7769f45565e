// What a host that draws on a terminal asks about its standard streams: whether one is a terminal
// at all, and how wide that terminal is.
//
// Threading: plain queries of the process's descriptors, safe from any thread.
#pragma once

#include <optional>

namespace core {

enum class StandardStream { input, output, error };

bool isTerminal(StandardStream stream);
// The number of columns of the terminal the stream writes to; nothing when it is no terminal or
// the terminal does not say.
std::optional<int> terminalColumns(StandardStream stream);

} // namespace core
