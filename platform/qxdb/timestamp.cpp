#include "platform/qxdb/timestamp.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <ostream>

#include "platform/qxdb/timestamp_format.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdb {

namespace {

constexpr int kNanosInSecond = 1000000000;
constexpr int kFractionDigits = 9;
constexpr int kScaleOfFraction[kFractionDigits + 1] = {1000000000, 100000000, 10000000, 1000000, 100000,
                                                       10000,      1000,      100,      10,      1};
constexpr int kLastJulianYear = 1582;
constexpr int kAnyDigits = std::numeric_limits<int>::max();

// 00 to 99, so that two digits are one copy.
struct PairTable {
    char text[200];
    constexpr PairTable() : text() {
        for (int i = 0; i < 100; ++i) {
            text[2 * i] = static_cast<char>('0' + i / 10);
            text[2 * i + 1] = static_cast<char>('0' + i % 10);
        }
    }
};
constexpr PairTable kPairs;

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

[[noreturn]] void ThrowBadText(const std::string& text, const std::string& format) {
    constexpr std::size_t shown = 100;
    const std::string part = text.size() > shown ? text.substr(0, shown) + "..." : text;
    throw qxutils::QXException("\"" + part + "\" is not a timestamp of the format \"" + format + "\"");
}

// Two digits, or -1.
int Pair(const char* at) {
    const auto tens = static_cast<unsigned int>(at[0]) - '0';
    const auto ones = static_cast<unsigned int>(at[1]) - '0';
    return tens > 9 || ones > 9 ? -1 : static_cast<int>(tens * 10 + ones);
}

// Digits at `at`, at least `least` and at most `most` of them; behind them it goes on.
bool ReadNumber(const char*& at, const char* end, int least, int most, int& value) {
    int read = 0;
    int count = 0;
    for (; count < most && at != end && IsDigit(*at); ++count)
        read = read * 10 + (*at++ - '0');
    value = read;
    return count >= least;
}

// Digits of a fraction, as nanoseconds; zeros may follow behind the ninth.
bool ReadFraction(const char*& at, const char* end, int most, int& nanoseconds) {
    const char* const first = at;
    int value = 0;
    if (!ReadNumber(at, end, 1, most < kFractionDigits ? most : kFractionDigits, value))
        return false;
    nanoseconds = value * kScaleOfFraction[at - first];
    while (at - first < most && at != end && *at == '0')
        ++at;
    return true;
}

bool ReadLiteral(const char*& at, const char* end, char literal, bool beforeFraction) {
    if (literal == ' ' && (*at == 'T' || *at == 't')) {
        ++at;
        return true;
    }
    if (literal == ' ' && IsBlank(*at)) {
        while (at != end && IsBlank(*at))
            ++at;
        return true;
    }
    if (*at != literal && !(beforeFraction && literal == '.' && *at == ','))
        return false;
    ++at;
    return true;
}

bool ReadYear(const char*& at, const char* end, bool digitsFollow, int& year) {
    const bool minus = *at == '-';
    if (minus)
        ++at;
    if (!ReadNumber(at, end, 4, digitsFollow ? 4 : 6, year))
        return false;
    if (minus)
        year = -year;
    return true;
}

bool ReadHalfOfDay(const char*& at, const char* end, bool& afternoon) {
    if (end - at < 2 || (at[1] != 'M' && at[1] != 'm'))
        return false;
    afternoon = *at == 'P' || *at == 'p';
    if (!afternoon && *at != 'A' && *at != 'a')
        return false;
    at += 2;
    return true;
}

int DaysOf(int year, int month) {
    constexpr int days[] = {31, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month != 2)
        return days[month];
    const bool leap = year <= kLastJulianYear ? year <= 0 || year % 4 == 0
                                              : year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return leap ? 29 : 28;
}

// One text on its way into the fields of a timestamp.
class Reader {
  public:
    Reader(const char* begin, const char* last) : at(begin), end(last) {}

    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;

    bool Read(const TimestampFormat& format) {
        TimestampToken last = TimestampToken::Literal;
        for (const TimestampPart& part : format.parts) {
            if (at == end) {
                // The rest of the text is missing: only the time may, and not behind a separator that is
                // there.
                if (part.dateFollows || last == TimestampToken::Literal)
                    return false;
                break;
            }
            if (!ReadPart(part,
                          &part != &format.parts.back() && (&part)[1].token == TimestampToken::Fraction))
                return false;
            last = part.token;
        }
        if (last == TimestampToken::Second && at != end && (*at == '.' || *at == ',')) {
            ++at;
            if (!ReadFraction(at, end, kAnyDigits, fraction))
                return false;
        }
        return at == end && anyField && CountHalfOfDay();
    }

  private:
    bool ReadPart(const TimestampPart& part, bool beforeFraction) {
        if (part.token == TimestampToken::Literal)
            return ReadLiteral(at, end, part.literal, beforeFraction);
        anyField = true;
        const int least = part.digitsFollow ? 2 : 1;
        switch (part.token) {
            case TimestampToken::Year:
                return ReadYear(at, end, part.digitsFollow, year);
            case TimestampToken::Month:
                return ReadNumber(at, end, least, 2, month);
            case TimestampToken::Day:
                return ReadNumber(at, end, least, 2, day);
            case TimestampToken::Hour24:
            case TimestampToken::Hour12:
                hour12 = part.token == TimestampToken::Hour12;
                return ReadNumber(at, end, least, 2, hour);
            case TimestampToken::Minute:
                return ReadNumber(at, end, least, 2, minute);
            case TimestampToken::Second:
                return ReadNumber(at, end, least, 2, second);
            case TimestampToken::Fraction:
                return ReadFraction(at, end, part.digitsFollow ? part.digits : kAnyDigits, fraction);
            case TimestampToken::HalfOfDay:
                halfOfDay = true;
                return ReadHalfOfDay(at, end, afternoon);
            case TimestampToken::Literal:
                break;
        }
        return false;
    }

    // 12 AM is 0 and 1 PM is 13, when the text has both an hour of twelve and a half of the day.
    bool CountHalfOfDay() {
        if (!hour12 || !halfOfDay)
            return true;
        if (hour > 12)
            return false;
        hour = hour % 12 + (afternoon ? 12 : 0);
        return true;
    }

    const char* at;
    const char* end;
    bool anyField = false;
    bool hour12 = false;
    bool halfOfDay = false;
    bool afternoon = false;
};

char* PutPair(char* to, int value) {
    std::memcpy(to, kPairs.text + 2 * value, 2);
    return to + 2;
}

// The first `width` digits; zeros beyond the ninth.
char* PutFraction(char* to, int nanoseconds, int width) {
    auto rest = static_cast<unsigned int>(nanoseconds < 0 ? 0 : nanoseconds % kNanosInSecond);
    for (int i = kFractionDigits - 1; i >= 0; --i) {
        if (i < width)
            to[i] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    }
    for (int i = kFractionDigits; i < width; ++i)
        to[i] = '0';
    return to + width;
}

// Collects a text in a small block, so that the target grows once or twice and not with each character.
class TextBlock {
  public:
    explicit TextBlock(std::string& target) : out(target) {}
    TextBlock(const TextBlock&) = delete;
    TextBlock& operator=(const TextBlock&) = delete;

    void Put(char c) {
        Reserve(1);
        block[used++] = c;
    }
    void PutPair(int value) {
        if (value < 0 || value > 99) {
            PutNumber(value, 2);
            return;
        }
        Reserve(2);
        std::memcpy(block + used, kPairs.text + 2 * value, 2);
        used += 2;
    }
    void PutNumber(int value, int width) {
        const auto amount =
            value < 0 ? 0U - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
        if (value < 0)
            Put('-');
        char digits[16];
        const auto count =
            static_cast<int>(std::to_chars(digits, digits + sizeof(digits), amount).ptr - digits);
        for (int i = count; i < width; ++i)
            Put('0');
        Reserve(static_cast<std::size_t>(count));
        std::memcpy(block + used, digits, static_cast<std::size_t>(count));
        used += static_cast<std::size_t>(count);
    }
    void PutFraction(int nanoseconds, int width) {
        char digits[kFractionDigits];
        ::qxdb::PutFraction(digits, nanoseconds, kFractionDigits);
        for (int i = 0; i < width; ++i)
            Put(i < kFractionDigits ? digits[i] : '0');
    }
    void Flush() {
        out.append(block, used);
        used = 0;
    }

  private:
    void Reserve(std::size_t count) {
        if (used + count > sizeof(block))
            Flush();
    }

    std::string& out;
    std::size_t used = 0;
    char block[64];
};

}  // namespace

Timestamp::Timestamp(const std::string& text) {
    if (!ParseIso(text, *this))
        ThrowBadText(text, GetFormat());
}

Timestamp::Timestamp(const std::string& text, const std::string& formatText) {
    SetFormat(formatText);
    if (!Parse(text))
        ThrowBadText(text, GetFormat());
}

void Timestamp::SetFormat(const std::string& text) {
    const TimestampFormat* standard = TimestampFormat::Default();
    format = text.empty() || text == standard->text ? nullptr : TimestampFormat::Get(text);
}

const std::string& Timestamp::GetFormat() const {
    return format ? format->text : TimestampFormat::Default()->text;
}

void Timestamp::SetDate(int newYear, int newMonth, int newDay) {
    year = newYear;
    month = newMonth;
    day = newDay;
}

void Timestamp::SetTime(int newHour, int newMinute, int newSecond) {
    hour = newHour;
    minute = newMinute;
    second = newSecond;
}

bool Timestamp::operator==(const Timestamp& other) const {
    return year == other.year && month == other.month && day == other.day && hour == other.hour &&
           minute == other.minute && second == other.second && fraction == other.fraction;
}

bool Timestamp::HasValidFields() const {
    if (month > 12 || day > DaysOf(year, month) || minute > 59 || second > 59)
        return false;
    return hour <= 23 || (hour == 24 && minute == 0 && second == 0 && fraction == 0);
}

bool Timestamp::Parse(std::string_view text) {
    return format ? ReadWith(format, text) : ParseIso(text, *this);
}

bool Timestamp::ParseIso(std::string_view text, Timestamp& value) {
    // The shape that nearly all texts have; everything else goes the long way.
    const char* at = text.data();
    const std::size_t size = text.size();
    const bool hasTime = size >= 19;
    if ((size != 10 && !hasTime) || at[4] != '-' || at[7] != '-')
        return value.ReadWith(TimestampFormat::Default(), text);
    Timestamp read;
    const int century = Pair(at);
    const int yearOfCentury = Pair(at + 2);
    read.month = Pair(at + 5);
    read.day = Pair(at + 8);
    bool good = (century | yearOfCentury | read.month | read.day) >= 0;
    read.year = century * 100 + yearOfCentury;
    if (hasTime) {
        good = good && (at[10] == ' ' || at[10] == 'T') && at[13] == ':' && at[16] == ':';
        read.hour = Pair(at + 11);
        read.minute = Pair(at + 14);
        read.second = Pair(at + 17);
        good = good && (read.hour | read.minute | read.second) >= 0;
        if (good && size > 19) {
            const char* rest = at + 20;
            good = at[19] == '.' && ReadFraction(rest, at + size, kFractionDigits, read.fraction) &&
                   rest == at + size;
        }
    }
    if (!good)
        return value.ReadWith(TimestampFormat::Default(), text);
    if (!read.HasValidFields())
        return false;
    read.format = value.format;
    value = read;
    return true;
}

bool Timestamp::ReadWith(const TimestampFormat* how, std::string_view text) {
    text = Trimmed(text);
    Reader reader(text.data(), text.data() + text.size());
    if (!reader.Read(*how))
        return false;
    Timestamp read;
    read.SetDate(reader.year, reader.month, reader.day);
    read.SetTime(reader.hour, reader.minute, reader.second);
    read.SetFraction(reader.fraction);
    if (!read.HasValidFields())
        return false;
    read.format = format;
    *this = read;
    return true;
}

std::string Timestamp::AsString() const {
    std::string text;
    AppendTo(text);
    return text;
}

std::string_view Timestamp::View(std::string& buffer) const {
    const TimestampFormat* how = format ? format : TimestampFormat::Default();
    if (how->width != 0 && HasUsualFields()) {
        if (buffer.size() < TimestampFormat::MostWidth)
            buffer.resize(TimestampFormat::MostWidth);
        PutUsual(*how, &buffer[0]);
        return {buffer.data(), how->width};
    }
    buffer.clear();
    AppendTo(buffer);
    return buffer;
}

// Those whose text has the format's width.
bool Timestamp::HasUsualFields() const {
    const auto isPair = [](int value) { return static_cast<unsigned int>(value) <= 99; };
    return static_cast<unsigned int>(year) <= 9999 && isPair(month) && isPair(day) && isPair(hour) &&
           isPair(minute) && isPair(second);
}

// REQUIRES: HasUsualFields(), and room for the format's width.
void Timestamp::PutUsual(const TimestampFormat& how, char* to) const {
    for (const TimestampPart& part : how.parts) {
        switch (part.token) {
            case TimestampToken::Literal:
                *to++ = part.literal;
                break;
            case TimestampToken::Year:
                to = PutPair(PutPair(to, year / 100), year % 100);
                break;
            case TimestampToken::Month:
                to = PutPair(to, month);
                break;
            case TimestampToken::Day:
                to = PutPair(to, day);
                break;
            case TimestampToken::Hour24:
                to = PutPair(to, hour);
                break;
            case TimestampToken::Hour12:
                to = PutPair(to, hour % 12 == 0 ? 12 : hour % 12);
                break;
            case TimestampToken::Minute:
                to = PutPair(to, minute);
                break;
            case TimestampToken::Second:
                to = PutPair(to, second);
                break;
            case TimestampToken::Fraction:
                to = PutFraction(to, fraction, part.digits);
                break;
            case TimestampToken::HalfOfDay:
                *to++ = hour % 24 < 12 ? 'A' : 'P';
                *to++ = 'M';
                break;
        }
    }
}

void Timestamp::AppendTo(std::string& out) const {
    const TimestampFormat* how = format ? format : TimestampFormat::Default();
    TextBlock text(out);
    for (const TimestampPart& part : how->parts) {
        switch (part.token) {
            case TimestampToken::Literal:
                text.Put(part.literal);
                break;
            case TimestampToken::Year:
                text.PutNumber(year, 4);
                break;
            case TimestampToken::Month:
                text.PutPair(month);
                break;
            case TimestampToken::Day:
                text.PutPair(day);
                break;
            case TimestampToken::Hour24:
                text.PutPair(hour);
                break;
            case TimestampToken::Hour12:
                text.PutPair(hour % 12 == 0 ? 12 : hour % 12);
                break;
            case TimestampToken::Minute:
                text.PutPair(minute);
                break;
            case TimestampToken::Second:
                text.PutPair(second);
                break;
            case TimestampToken::Fraction:
                text.PutFraction(fraction, part.digits);
                break;
            case TimestampToken::HalfOfDay:
                text.Put(hour % 24 < 12 ? 'A' : 'P');
                text.Put('M');
                break;
        }
    }
    text.Flush();
}

std::ostream& operator<<(std::ostream& stream, const Timestamp& value) {
    return stream << value.AsString();
}

}  // namespace qxdb
