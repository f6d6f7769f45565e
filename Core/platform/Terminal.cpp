#include "Core/platform/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace core {
namespace {

int descriptor(StandardStream stream) {
    switch (stream) {
    case StandardStream::input:
        return STDIN_FILENO;
    case StandardStream::output:
        return STDOUT_FILENO;
    case StandardStream::error:
        break;
    }
    return STDERR_FILENO;
}

} // namespace

bool isTerminal(StandardStream stream) {
    return ::isatty(descriptor(stream)) == 1;
}

std::optional<int> terminalColumns(StandardStream stream) {
    winsize size{};
    if (::ioctl(descriptor(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return std::nullopt;
    return size.ws_col;
}

} // namespace core
