#include "cli/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tidewell {
namespace {

constexpr int barWidth = 30;

int terminalColumns() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

// Keeps the end of a long path, which names the file.
std::string fitted(const std::string& text, int width) {
    if (width <= 3)
        return "";
    if (static_cast<int>(text.size()) <= width)
        return text;
    return "..." + text.substr(text.size() - static_cast<std::size_t>(width - 3));
}

} // namespace

ProgressLine::ProgressLine(bool quiet) : enabled_(!quiet && ::isatty(STDERR_FILENO)) {}

void ProgressLine::setFraction(double fraction) {
    fraction_ = std::clamp(fraction, 0.0, 1.0);
    redraw();
}

void ProgressLine::setCurrent(const std::string& path) {
    current_ = path;
    redraw();
}

void ProgressLine::redraw() {
    if (!enabled_)
        return;
    int filled = static_cast<int>(fraction_ * barWidth);
    std::string bar = "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "]";
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(fraction_ * 100));
    std::string line = bar + " " + percent + " ";
    line += fitted(current_, terminalColumns() - static_cast<int>(line.size()) - 1);
    std::fprintf(stderr, "\r\033[K%s", line.c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void ProgressLine::finish() {
    if (drawn_)
        std::fprintf(stderr, "\r\033[K");
    drawn_ = false;
}

void printTable(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows)
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths.resize(std::max(widths.size(), row.size()));
            widths[column] = std::max(widths[column], row[column].size());
        }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const auto& cell = row[column];
            std::string padding(widths[column] - cell.size(), ' ');
            // The first column is a label; the others are numbers, aligned right.
            line += column == 0 ? cell + padding : "  " + padding + cell;
        }
        std::cout << line << '\n';
    }
}

} // namespace tidewell
