#include "tools/qxsql/progress_line.h"

#include <unistd.h>

#include <cstdio>

#include "tools/qxsql/terminal.h"

namespace qxsql {

std::string GroupedNumber(long long number) {
    std::string digits = std::to_string(number);
    const std::size_t first = digits[0] == '-' ? 1 : 0;
    for (std::size_t place = digits.size(); place > first + 3;) {
        place -= 3;
        digits.insert(place, 1, ',');
    }
    return digits;
}

ProgressLine::ProgressLine(When when)
    : terminal(IsTerminal(STDERR_FILENO)), enabled(when == Always || (when == OnTerminal && terminal)) {}

ProgressLine::~ProgressLine() {
    Wipe();
}

bool ProgressLine::Due() {
    if (!enabled)
        return false;
    const Clock::time_point now = Clock::now();
    if (now < next)
        return false;
    next = now + std::chrono::milliseconds(terminal ? 100 : 1000);
    return true;
}

void ProgressLine::Write(const std::string& text) {
    if (terminal)
        std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
    else
        std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
    shown = terminal;
}

void ProgressLine::ShowRows(long long rows) {
    if (!Due())
        return;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    Write(GroupedNumber(rows) + " rows, " +
          GroupedNumber(static_cast<long long>(static_cast<double>(rows) / seconds)) + " rows/s");
}

void ProgressLine::ShowItems(long long items, long long bytesDone, long long size) {
    if (!Due())
        return;
    std::string text = GroupedNumber(items) + " items, " + GroupedNumber(bytesDone);
    if (size > 0)
        text += " of " + GroupedNumber(size);
    text += " bytes";
    if (size > 0)
        text += " (" + std::to_string(static_cast<int>(bytesDone * 100.0 / size)) + " %)";
    Write(text);
}

void ProgressLine::ShowPercent(const char* what, double share) {
    if (Due())
        Write(std::string(what) + " " + std::to_string(static_cast<int>(share * 100)) + " %");
}

void ProgressLine::Wipe() {
    if (!shown)
        return;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    shown = false;
}

}  // namespace qxsql
