// A timestamp format taken apart. Only for the sources of this folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qxdb {

enum class TimestampToken : std::uint8_t {
    Literal,
    Year,
    Month,
    Day,
    Hour24,
    Hour12,
    Minute,
    Second,
    Fraction,
    HalfOfDay
};

struct TimestampPart {
    TimestampToken token;
    char literal;           // of a literal
    unsigned short digits;  // of a fraction: how many letters
    bool dateFollows;       // this part or one behind it belongs to the date, so a text may not end here
    bool digitsFollow;      // the next part starts with digits, so this one has to have its full width
};

// Never changed and never deleted once it is made, so that timestamps hold plain pointers.
struct TimestampFormat {
    std::string text;
    std::vector<TimestampPart> parts;
    // Characters of a text whose year has four digits and whose other fields have two; 0 when that is too
    // much or nothing.
    std::size_t width = 0;
    static constexpr std::size_t MostWidth = 64;

    // The format of a text, the same object for the same text. Any thread.
    static const TimestampFormat* Get(const std::string& text);
    static const TimestampFormat* Default();
};

}  // namespace qxdb
