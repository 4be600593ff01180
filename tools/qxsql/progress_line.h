// One line on the terminal that tells how far long work has come.
#pragma once

#include <chrono>
#include <string>

namespace qxsql {

// Writes to standard error, over and over on the same line, at most ten times a second and only after the
// work has taken half a second. Where standard error is no terminal it prints nothing, or with `Always` a
// line of its own once a second. One thread.
class ProgressLine {
  public:
    enum When { Never, OnTerminal, Always };

    explicit ProgressLine(When when);
    // Wipes the line.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // "1,234,000 rows, 812,000 rows/s"
    void ShowRows(long long rows);
    // "1,234 items, 5,600 of 10,000 bytes (56 %)". `size` 0: not known.
    void ShowItems(long long items, long long bytesDone, long long size);
    // `share` from 0 to 1.
    void ShowPercent(const char* what, double share);
    // Removes the line from the screen; the next Show writes it anew.
    void Wipe();

  private:
    using Clock = std::chrono::steady_clock;

    bool Due();
    void Write(const std::string& text);

    const bool terminal;
    const bool enabled;
    const Clock::time_point start = Clock::now();
    Clock::time_point next = start + std::chrono::milliseconds(500);
    bool shown = false;
};

// 1234567 gives "1,234,567".
std::string GroupedNumber(long long number);

}  // namespace qxsql
