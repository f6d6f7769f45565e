#include "cli/Terminal.h"

#include "Core/platform/Terminal.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>

namespace tidewell {
namespace {

constexpr int barWidth = 30;
constexpr int defaultColumns = 80;

// Keeps the end of a long path, which names the file.
std::string fitted(const std::string& text, int width) {
    if (width <= 3)
        return "";
    if (static_cast<int>(text.size()) <= width)
        return text;
    return "..." + text.substr(text.size() - static_cast<std::size_t>(width - 3));
}

bool isControl(UChar32 character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

void appendEscaped(std::string& out, std::string_view bytes) {
    for (unsigned char byte : bytes) {
        switch (byte) {
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02X", byte);
            out += escape;
        }
    }
}

} // namespace

ProgressLine::ProgressLine(bool quiet) : enabled_(!quiet && core::isTerminal(core::StandardStream::error)) {}

void ProgressLine::setFraction(double fraction) {
    fraction_ = std::clamp(fraction, 0.0, 1.0);
    redraw();
}

void ProgressLine::setCurrent(const std::string& path) {
    current_ = printable(path);
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
    int columns = core::terminalColumns(core::StandardStream::error).value_or(defaultColumns);
    line += fitted(current_, columns - static_cast<int>(line.size()) - 1);
    std::fprintf(stderr, "\r\033[K%s", line.c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void ProgressLine::finish() {
    if (drawn_)
        std::fprintf(stderr, "\r\033[K");
    drawn_ = false;
}

std::string printable(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.data());
    const auto length = static_cast<std::int32_t>(name.size());
    for (std::int32_t offset = 0; offset < length;) {
        std::int32_t start = offset;
        UChar32 character;
        U8_NEXT(bytes, offset, length, character);
        auto sequence =
            name.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(offset - start));
        if (character < 0 || isControl(character))
            appendEscaped(out, sequence);
        else if (character == '\\')
            out += "\\\\";
        else
            out += sequence;
    }
    return out;
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
