// Date and time values and the formats of their texts.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/export.h"

namespace qxdb {

struct TimestampFormat;  // a format text, taken apart once

// A date and a time of day with nanoseconds, without a time zone, and the format of its text. The fields are
// kept as they are set, without a check: servers have dates such as 0000-00-00. A new timestamp has all
// fields 0. Copies are cheap and never allocate; no locking.
//
// Formats. Letters of a format, everything else stands for itself:
//   yyyy    year, at least four digits, more when it has them, "-" in front when it is negative
//   MM dd   month, day
//   HH hh   hour 0 to 23; hour 1 to 12
//   mm ss   minute, second
//   f...f   fraction of a second, as many digits as letters, cut and not rounded; beyond nine digits zeros
//   a       AM or PM
// The default is yyyy-MM-dd HH:mm:ss.fff. An empty format means the default. Each distinct format text is
// taken apart once and then kept for the life of the process.
//
// Reading is tolerant in these points and no others:
//  - blanks around the text; a blank of the format also reads "T" or "t", or any number of blanks
//  - month, day, hour, minute and second may have one digit where no digit follows
//  - the text may end when all of the date has been read; what is missing is 0
//  - the fraction may have one to nine digits whatever the format asks for, zeros beyond the ninth; it may be
//    there though the format ends with the seconds; and a point before it also reads a comma
//  - AM and PM in either case; without them an hour of hh is taken as it stands
// A year has four to six digits, so 31.12.06 is refused rather than read as the year 6. Month 0 and day 0 are
// allowed, the day otherwise ends with the month (29 February in every fourth year before 1583); 24:00:00 is
// allowed, a second of 60 is not. A zone behind the time is refused, since it could not be kept.
class QXSENG2_API Timestamp {
  public:
    Timestamp() = default;
    // Reads the text in the default format. Throws QXException, which names text and format.
    explicit Timestamp(const std::string& text);
    // Reads the text in a format, which the timestamp then has. Throws QXException, which names text and
    // format.
    Timestamp(const std::string& text, const std::string& format);

    // The text in the timestamp's format.
    std::string AsString() const;
    void SetFormat(const std::string& format);
    void SetDate(int newYear, int newMonth, int newDay);
    void SetTime(int newHour, int newMinute, int newSecond);
    // Nanoseconds.
    void SetFraction(int nanoseconds) { fraction = nanoseconds; }
    int GetYear() const { return year; }
    int GetMonth() const { return month; }
    int GetDay() const { return day; }
    int GetHour() const { return hour; }
    int GetMinute() const { return minute; }
    int GetSeconds() const { return second; }
    int GetFraction() const { return fraction; }

    // The fields alone; the format plays no part.
    bool operator==(const Timestamp& other) const;
    bool operator!=(const Timestamp& other) const { return !(*this == other); }

    // Without exceptions and allocations, for hot loops.

    // Reads the text in the timestamp's own format; false, and nothing changed, for a bad text.
    bool Parse(std::string_view text);
    // Appends what AsString gives.
    void AppendTo(std::string& out) const;
    // AsString as a view of the start of `buffer`, whose content is overwritten; it grows where it must.
    std::string_view View(std::string& buffer) const;
    // Reads "yyyy-MM-dd[ HH:mm[:ss[.f...]]]" as the default format does. The target's format stays.
    static bool ParseIso(std::string_view text, Timestamp& value);
    // The format's text, valid for the life of the process.
    const std::string& GetFormat() const;

  private:
    bool ReadWith(const TimestampFormat* how, std::string_view text);
    bool HasValidFields() const;
    bool HasUsualFields() const;
    void PutUsual(const TimestampFormat& how, char* to) const;

    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;
    const TimestampFormat* format = nullptr;  // null: the default
};

// The text in the timestamp's format.
QXSENG2_API std::ostream& operator<<(std::ostream& stream, const Timestamp& value);

}  // namespace qxdb
