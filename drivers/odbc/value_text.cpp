#include "drivers/odbc/value_text.h"

#include <charconv>
#include <cmath>

#include "platform/qxdb/decimal.h"

namespace qxdrivers::odbc {

namespace {

template <class T>
void AppendDigits(T value, std::string& out) {
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, end.ptr);
}

bool AppendSpecial(double value, std::string& out) {
    if (std::isfinite(value)) {
        return false;
    }
    out += std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
    return true;
}

// Two digits at `at`, which moves behind them.
bool ReadTwo(std::string_view text, std::size_t& at, int& number) {
    if (at + 2 > text.size() || text[at] < '0' || text[at] > '9' || text[at + 1] < '0' ||
        text[at + 1] > '9') {
        return false;
    }
    number = (text[at] - '0') * 10 + (text[at + 1] - '0');
    at += 2;
    return true;
}

bool Skip(std::string_view text, std::size_t& at, char wanted) {
    if (at >= text.size() || text[at] != wanted) {
        return false;
    }
    ++at;
    return true;
}

bool ReadFraction(std::string_view text, std::size_t& at, int& nanoseconds) {
    int unit = 100000000;
    nanoseconds = 0;
    const std::size_t begin = at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        nanoseconds += (text[at] - '0') * unit;
        unit /= 10;
    }
    return at > begin && at - begin <= 9;
}

bool ReadTimeOfDay(std::string_view text, qxdb::Timestamp& value) {
    std::size_t at = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;
    const bool good = ReadTwo(text, at, hour) && Skip(text, at, ':') && ReadTwo(text, at, minute) &&
                      Skip(text, at, ':') && ReadTwo(text, at, second) &&
                      (at == text.size() || (Skip(text, at, '.') && ReadFraction(text, at, fraction))) &&
                      at == text.size();
    const bool isMidnight = hour == 24 && minute == 0 && second == 0 && fraction == 0;
    if (!good || (hour > 23 && !isMidnight) || minute > 59 || second > 59) {
        return false;
    }
    value.SetDate(0, 0, 0);
    value.SetTime(hour, minute, second);
    value.SetFraction(fraction);
    return true;
}

}  // namespace

void AppendWhole(__int64 value, std::string& out) {
    AppendDigits(value, out);
}

void AppendWhole(unsigned long long value, std::string& out) {
    AppendDigits(value, out);
}

void AppendReal(double value, std::string& out) {
    if (!AppendSpecial(value, out)) {
        qxdb::Decimal::AppendDouble(value, out);
    }
}

void AppendReal(float value, std::string& out) {
    if (AppendSpecial(static_cast<double>(value), out)) {
        return;
    }
    // The double nearest to the shortest text of the float, so that both are written alike.
    char digits[48];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    double shortest = 0;
    std::from_chars(digits, end.ptr, shortest);
    qxdb::Decimal::AppendDouble(shortest, out);
}

bool ReadTime(std::string_view text, TimePart part, bool zeroDates, qxdb::Timestamp& value) {
    if (part == TimePart::TimeOfDay) {
        return ReadTimeOfDay(text, value);
    }
    qxdb::Timestamp read = value;
    if (!qxdb::Timestamp::ParseIso(text, read)) {
        return false;
    }
    if (!zeroDates && (read.GetYear() == 0 || read.GetMonth() == 0 || read.GetDay() == 0)) {
        return false;
    }
    value = read;
    return true;
}

std::string TimeText(const qxdb::Timestamp& value, TimePart part) {
    int digits = 9;
    for (int fraction = value.GetFraction(); digits > 0 && fraction % 1000 == 0; fraction /= 1000) {
        digits -= 3;
    }
    qxdb::Timestamp text = value;
    text.SetFormat(TimestampFormatOf(part, digits));
    return text.AsString();
}

}  // namespace qxdrivers::odbc
