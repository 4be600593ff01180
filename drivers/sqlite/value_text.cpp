#include "drivers/sqlite/value_text.h"

#include <sqlite3.h>

#include <charconv>
#include <cmath>

#include "platform/qxdb/buffer.h"

namespace qxdrivers::sqlite {

namespace {

constexpr std::size_t maxQuoted = 60;

void AppendReal(double value, std::string& out) {
    if (std::isinf(value)) {
        out += value < 0 ? "-Inf" : "Inf";
        return;
    }
    char digits[40];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    const std::string_view text(digits, static_cast<std::size_t>(end.ptr - digits));
    const std::size_t exponent = text.find('e');
    out += text.substr(0, exponent);
    if (text.find('.') == std::string_view::npos) {
        out += ".0";  // a reader sees that this is no INTEGER
    }
    if (exponent != std::string_view::npos) {
        out += text.substr(exponent);
    }
}

void AppendInteger(sqlite3_int64 value, std::string& out) {
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, end.ptr);
}

const char* StorageName(int storageClass) {
    switch (storageClass) {
        case SQLITE_INTEGER:
            return "INTEGER";
        case SQLITE_FLOAT:
            return "REAL";
        case SQLITE_TEXT:
            return "TEXT";
        case SQLITE_BLOB:
            return "BLOB";
        default:
            return "NULL";
    }
}

// Where to cut so that no multi-byte character is split.
std::size_t CutAt(std::string_view text, std::size_t length) {
    const std::size_t limit = length;
    while (length > 0 && limit - length < 3 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        --length;
    }
    return (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80 ? limit : length;
}

qxdb::Timestamp WithFormat(const char* format) {
    qxdb::Timestamp time;
    time.SetFormat(format);
    return time;
}

bool ParseTimeOfDay(std::string_view text, qxdb::Timestamp& value) {
    static const qxdb::Timestamp readers[] = {WithFormat("HH:mm:ss"), WithFormat("HH:mm")};
    for (const qxdb::Timestamp& reader : readers) {
        qxdb::Timestamp time = reader;
        if (time.Parse(text)) {
            value.SetDate(0, 0, 0);
            value.SetTime(time.GetHour(), time.GetMinute(), time.GetSeconds());
            value.SetFraction(time.GetFraction());
            return true;
        }
    }
    return false;
}

}  // namespace

std::string_view TextOf(sqlite3_value* value) {
    const void* text = sqlite3_value_text(value);
    const int length = sqlite3_value_bytes(value);
    return std::string_view(static_cast<const char*>(text), text ? static_cast<std::size_t>(length) : 0);
}

std::string_view BytesOf(sqlite3_value* value) {
    if (sqlite3_value_type(value) == SQLITE_TEXT) {
        return TextOf(value);  // in UTF-8, whatever the encoding of the database
    }
    const void* bytes = sqlite3_value_blob(value);
    const int length = sqlite3_value_bytes(value);
    return std::string_view(static_cast<const char*>(bytes), bytes ? static_cast<std::size_t>(length) : 0);
}

void AppendValue(sqlite3_value* value, std::string& out) {
    switch (sqlite3_value_type(value)) {
        case SQLITE_INTEGER:
            AppendInteger(sqlite3_value_int64(value), out);
            break;
        case SQLITE_FLOAT:
            AppendReal(sqlite3_value_double(value), out);
            break;
        case SQLITE_TEXT:
            out += TextOf(value);
            break;
        case SQLITE_BLOB: {
            const std::string_view bytes = BytesOf(value);
            qxdb::BufferBase::AppendHex(out, reinterpret_cast<const unsigned char*>(bytes.data()),
                                        bytes.size());
            break;
        }
        default:
            break;
    }
}

std::string QuotedValue(sqlite3_value* value) {
    const int storageClass = sqlite3_value_type(value);
    std::string text;
    if (storageClass == SQLITE_BLOB || storageClass == SQLITE_TEXT) {
        const std::string_view bytes = BytesOf(value);
        const std::size_t shown = storageClass == SQLITE_BLOB ? maxQuoted / 2 : maxQuoted;
        const bool cut = bytes.size() > shown;
        const std::string_view kept = cut ? bytes.substr(0, CutAt(bytes, shown)) : bytes;
        if (storageClass == SQLITE_BLOB) {
            qxdb::BufferBase::AppendHex(text, reinterpret_cast<const unsigned char*>(bytes.data()),
                                        cut ? shown : bytes.size());
        } else {
            text = kept;
        }
        text += cut ? "..." : "";
    } else {
        AppendValue(value, text);
    }
    return "'" + text + "' (" + StorageName(storageClass) + ")";
}

bool ParseTime(std::string_view text, TimePart part, qxdb::Timestamp& value) {
    return part == TimePart::TimeOfDay ? ParseTimeOfDay(text, value) : qxdb::Timestamp::ParseIso(text, value);
}

bool ToInt64(double value, __int64& whole) {
    constexpr double limit = 9223372036854775808.0;
    if (!(value >= -limit && value < limit)) {
        return false;
    }
    whole = static_cast<__int64>(value);
    return static_cast<double>(whole) == value;
}

bool AsExactDouble(__int64 value, double& number) {
    number = static_cast<double>(value);
    __int64 back = 0;
    return ToInt64(number, back) && back == value;
}

}  // namespace qxdrivers::sqlite
