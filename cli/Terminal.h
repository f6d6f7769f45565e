// What people read: a progress bar with the percentage and the file being looked at, redrawn in
// place on stderr (silent when stderr is no terminal or the user asked for quiet), tables with
// aligned columns, and the one way every name and count is written in them.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

class ProgressLine {
public:
    explicit ProgressLine(bool quiet);
    ~ProgressLine() { finish(); }

    void setFraction(double fraction);
    void setCurrent(const std::string& path);
    // Clears the line so that the report starts on a clean line.
    void finish();

private:
    void redraw();
    bool enabled_;
    bool drawn_ = false;
    double fraction_ = 0;
    std::string current_;
};

// A name as one line of text that cannot steer the terminal: control characters (C0, DEL, C1)
// and bytes that are not UTF-8 become escapes ("\n", "\t", "\r", "\xNN"), and a backslash is
// doubled, so that every name reads back unambiguously.
std::string printable(std::string_view name);

// "1 byte", "2 bytes", "0 files": a count with its noun, plural unless the count is one.
template <std::integral Count> std::string counted(Count count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

// A table of rows on stdout with aligned columns; cells are printed as given.
void printTable(const std::vector<std::vector<std::string>>& rows);

} // namespace tidewell
