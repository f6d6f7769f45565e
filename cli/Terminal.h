// Progress on a terminal: a bar with the percentage and the file being looked at, redrawn in
// place on stderr. Silent when stderr is no terminal or the user asked for quiet.
#pragma once

#include <string>
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

// A table of rows on stdout with aligned columns.
void printTable(const std::vector<std::vector<std::string>>& rows);

} // namespace tidewell
