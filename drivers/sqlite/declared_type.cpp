#include "drivers/sqlite/declared_type.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>

namespace qxdrivers::sqlite {

namespace {

using qxdb::Column;

constexpr long lobLength = 1000000;
constexpr int maxTimeDigits = 9;
constexpr int defaultTimeDigits = 3;

struct TypeWord {
    const char* word;
    Column::BindType type;
    bool binary;
    TimePart part;
};

constexpr TypeWord typeWords[] = {
    {"INT", Column::BindInt64, false, TimePart::None},
    {"INTEGER", Column::BindInt64, false, TimePart::None},
    {"BIGINT", Column::BindInt64, false, TimePart::None},
    {"INT8", Column::BindInt64, false, TimePart::None},
    {"MEDIUMINT", Column::BindInt, false, TimePart::None},
    {"INT4", Column::BindInt, false, TimePart::None},
    {"SMALLINT", Column::BindShort, false, TimePart::None},
    {"INT2", Column::BindShort, false, TimePart::None},
    {"TINYINT", Column::BindShort, false, TimePart::None},
    {"BOOL", Column::BindShort, false, TimePart::None},
    {"BOOLEAN", Column::BindShort, false, TimePart::None},
    {"REAL", Column::BindDouble, false, TimePart::None},
    {"DOUBLE", Column::BindDouble, false, TimePart::None},
    {"FLOAT", Column::BindDouble, false, TimePart::None},
    {"DECIMAL", Column::BindDecimal, false, TimePart::None},
    {"DEC", Column::BindDecimal, false, TimePart::None},
    {"NUMERIC", Column::BindDecimal, false, TimePart::None},
    {"NUMBER", Column::BindDecimal, false, TimePart::None},
    {"CHAR", Column::BindString, false, TimePart::None},
    {"CHARACTER", Column::BindString, false, TimePart::None},
    {"VARCHAR", Column::BindString, false, TimePart::None},
    {"VARCHAR2", Column::BindString, false, TimePart::None},
    {"NCHAR", Column::BindString, false, TimePart::None},
    {"NVARCHAR", Column::BindString, false, TimePart::None},
    {"NVARCHAR2", Column::BindString, false, TimePart::None},
    {"TEXT", Column::BindString, false, TimePart::None},
    {"TINYTEXT", Column::BindString, false, TimePart::None},
    {"BLOB", Column::BindBinary, true, TimePart::None},
    {"BINARY", Column::BindBinary, true, TimePart::None},
    {"VARBINARY", Column::BindBinary, true, TimePart::None},
    {"TINYBLOB", Column::BindBinary, true, TimePart::None},
    {"BYTEA", Column::BindBinary, true, TimePart::None},
    {"RAW", Column::BindBinary, true, TimePart::None},
    {"CLOB", Column::BindLob, false, TimePart::None},
    {"NCLOB", Column::BindLob, false, TimePart::None},
    {"LONGTEXT", Column::BindLob, false, TimePart::None},
    {"MEDIUMTEXT", Column::BindLob, false, TimePart::None},
    {"LONGBLOB", Column::BindLob, true, TimePart::None},
    {"MEDIUMBLOB", Column::BindLob, true, TimePart::None},
    {"DATE", Column::BindTimestamp, false, TimePart::Date},
    {"DATETIME", Column::BindTimestamp, false, TimePart::DateTime},
    {"TIMESTAMP", Column::BindTimestamp, false, TimePart::DateTime},
    {"TIME", Column::BindTimestamp, false, TimePart::TimeOfDay},
};

// SQLite's own rules for names that it does not know, but for INT: too many words end like POINT.
struct TypeFragment {
    const char* fragment;
    Column::BindType type;
    bool binary;
};

constexpr TypeFragment typeFragments[] = {
    {"CHAR", Column::BindString, false}, {"CLOB", Column::BindString, false},
    {"TEXT", Column::BindString, false}, {"BLOB", Column::BindBinary, true},
    {"REAL", Column::BindDouble, false}, {"FLOA", Column::BindDouble, false},
    {"DOUB", Column::BindDouble, false},
};

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

struct Parts {
    std::string name;   // as declared, without the parentheses, single blanks
    std::string upper;  // the same in upper case
    long numbers[2] = {-1, -1};
};

// A number in parentheses; -1 when there is none. Large ones stop at a limit far above any that matters.
long ReadNumber(std::string_view text, std::size_t& at) {
    constexpr long limit = 1000000000;
    while (at < text.size() && (text[at] == ' ' || text[at] == ',')) {
        ++at;
    }
    long value = -1;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = std::min(std::max(value, 0L) * 10 + (text[at] - '0'), limit);
    }
    return value;
}

Parts Split(std::string_view text) {
    Parts parts;
    const std::size_t open = text.find('(');
    const std::size_t close = open == std::string_view::npos ? open : text.find(')', open);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == open) {
            std::size_t at = open + 1;
            parts.numbers[0] = ReadNumber(text, at);
            parts.numbers[1] = ReadNumber(text, at);
            i = close == std::string_view::npos ? text.size() : close;
        } else if (text[i] != ' ' || (!parts.name.empty() && parts.name.back() != ' ')) {
            parts.name += text[i];
        }
    }
    while (!parts.name.empty() && parts.name.back() == ' ') {
        parts.name.pop_back();
    }
    std::transform(parts.name.begin(), parts.name.end(), std::back_inserter(parts.upper), Upper);
    return parts;
}

// The first word of the type that the table knows.
const TypeWord* FindWord(const std::string& upper) {
    std::size_t begin = 0;
    while (begin < upper.size()) {
        const std::size_t end = std::min(upper.find(' ', begin), upper.size());
        const std::string_view word = std::string_view(upper).substr(begin, end - begin);
        for (const TypeWord& entry : typeWords) {
            if (word == entry.word) {
                return &entry;
            }
        }
        begin = end + 1;
    }
    return nullptr;
}

// The words by which a table takes texts and bytes of any length.
bool IsUnlimited(const std::string& upper) {
    const TypeWord* const known = FindWord(upper);
    const std::string_view word = known ? known->word : "";
    return word == "TEXT" || word == "BLOB" || word == "BYTEA";
}

const TypeFragment* FindFragment(const std::string& upper) {
    for (const TypeFragment& entry : typeFragments) {
        if (upper.find(entry.fragment) != std::string::npos) {
            return &entry;
        }
    }
    return nullptr;
}

void ApplyNumbers(const Parts& parts, DeclaredType& type) {
    const long first = parts.numbers[0];
    const long second = parts.numbers[1];
    switch (type.type) {
        case Column::BindDecimal:
            type.scaleGiven = first >= 0;
            type.scale = static_cast<int>(std::clamp(second, 0L, 255L));
            break;
        case Column::BindString:
        case Column::BindBinary:
            if (first > lobLength) {
                type.type = Column::BindLob;
            }
            break;
        case Column::BindTimestamp:
            type.scaleGiven = type.part == TimePart::Date || first >= 0;
            if (type.part != TimePart::Date && first >= 0) {
                type.scale = static_cast<int>(std::min(first, static_cast<long>(maxTimeDigits)));
            } else if (type.part == TimePart::DateTime) {
                type.scale = defaultTimeDigits;
            }
            break;
        default:
            break;
    }
}

}  // namespace

DeclaredType ParseDeclaredType(std::string_view text) {
    Parts parts = Split(text);
    DeclaredType type;
    if (const TypeWord* known = FindWord(parts.upper)) {
        type.type = known->type;
        type.binary = known->binary;
        type.part = known->part;
    } else if (const TypeFragment* like = FindFragment(parts.upper)) {
        type.type = like->type;
        type.binary = like->binary;
    }
    if (type.part != TimePart::None && parts.upper.find("WITH TIME ZONE") != std::string::npos) {
        type.type = Column::BindString;
        type.part = TimePart::None;
    }
    ApplyNumbers(parts, type);
    type.unlimited = parts.numbers[0] < 0 && IsUnlimited(parts.upper);
    type.name = std::move(parts.name);
    return type;
}

DeclaredType TypeOfStorage(int storageClass) {
    DeclaredType type;
    switch (storageClass) {
        case SQLITE_INTEGER:
            type.type = Column::BindInt64;
            type.name = "INTEGER";
            break;
        case SQLITE_FLOAT:
            type.type = Column::BindDouble;
            type.name = "REAL";
            break;
        case SQLITE_BLOB:
            type.type = Column::BindBinary;
            type.binary = true;
            type.name = "BLOB";
            break;
        default:
            type.type = Column::BindString;
            type.name = "TEXT";
            break;
    }
    return type;
}

std::string TimestampFormatOf(TimePart part, int digits) {
    std::string format = part == TimePart::TimeOfDay ? "HH:mm:ss" : "yyyy-MM-dd";
    if (part == TimePart::DateTime) {
        format += " HH:mm:ss";
    }
    if (part != TimePart::Date && digits > 0) {
        format += '.';
        format.append(static_cast<std::size_t>(digits), 'f');
    }
    return format;
}

}  // namespace qxdrivers::sqlite
