#include "drivers/sqlite/row_condition.h"

#include <charconv>
#include <iterator>

#include "drivers/sqlite/failure.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/timestamp.h"

namespace qxdrivers::sqlite {

namespace {

using qxdb::Column;

constexpr const char* nullText = "[NULL]";
constexpr int fractionDigits = 9;

bool IsNull(const std::list<std::string>& texts, std::size_t position) {
    return position < texts.size() &&
           *std::next(texts.begin(), static_cast<std::ptrdiff_t>(position)) == nullText;
}

// A whole number in the one way in which SQLite writes it.
bool IsWholeNumber(const std::string& text, __int64& number) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && std::to_string(number) == text;
}

std::string TextIn(qxdb::Timestamp time, const std::string& format) {
    time.SetFormat(format);
    return time.AsString();
}

// The ISO texts that read as this time.
std::vector<std::string> TimeTexts(const qxdb::Timestamp& time) {
    std::vector<std::string> texts;
    const bool hasDay = time.GetYear() != 0;
    std::vector<std::string> starts;
    if (hasDay) {
        starts = {"yyyy-MM-dd ", "yyyy-MM-ddT"};
        if (time.GetHour() == 0 && time.GetMinute() == 0 && time.GetSeconds() == 0 &&
            time.GetFraction() == 0) {
            texts.push_back(TextIn(time, "yyyy-MM-dd"));
        }
    } else {
        starts = {""};
    }
    for (const std::string& start : starts) {
        if (time.GetSeconds() == 0 && time.GetFraction() == 0) {
            texts.push_back(TextIn(time, start + "HH:mm"));
        }
        int unit = 1000000000;
        std::string format = start + "HH:mm:ss";
        for (int digits = 0; digits <= fractionDigits; ++digits, unit /= 10) {
            if (digits == 1) {
                format += '.';
            }
            if (digits > 0) {
                format += 'f';
            }
            if (time.GetFraction() % unit == 0) {
                texts.push_back(TextIn(time, format));
            }
        }
    }
    return texts;
}

}  // namespace

bool CanFind(Column::BindType type) {
    return type != Column::BindFloat && type != Column::BindDouble && type != Column::BindLob;
}

RowCondition::RowCondition(const LobPlace& place, const std::list<std::string>* rowValues) {
    bool isAllNull = rowValues && IsNull(*rowValues, place.position);
    for (const FindingColumn& column : place.columns) {
        if (!rowValues || column.position >= rowValues->size()) {
            ThrowRefusal("The row of the large object can't be found without the values of its columns",
                         "HY000");
        }
        AddColumn(column, *std::next(rowValues->begin(), static_cast<std::ptrdiff_t>(column.position)));
        isAllNull = isAllNull && IsNull(*rowValues, column.position);
    }
    if (isAllNull) {
        ThrowRefusal("The row of the large object in " + place.table.table + " can't be told: it is all NULL",
                     "02000");
    }
}

void RowCondition::AddColumn(const FindingColumn& column, const std::string& text) {
    sql += sql.empty() ? " WHERE " : " AND ";
    const std::string name = QuoteName(column.name);
    const bool isNull = text == nullText;
    if (isNull && column.type != Column::BindString) {
        sql += name + " IS NULL";
        return;
    }
    // A text may be just these six letters.
    sql += isNull ? "(" + name + " IS NULL OR " : "";
    const std::size_t first = values.size();
    AddText(text);
    qxdb::DynBuffer bytes;
    qxdb::Timestamp time;
    time.SetFormat(column.timeFormat);
    __int64 number = 0;
    if (column.type == Column::BindBinary && qxdb::BufferBase::ParseHex(text, bytes)) {
        const std::string content(reinterpret_cast<const char*>(bytes.GetBuffer()), bytes.GetLength());
        values.back().text = content;
        values.push_back({Value::Kind::Bytes, content, 0});
    } else if (column.type == Column::BindTimestamp && time.Parse(text)) {
        for (const std::string& form : TimeTexts(time)) {
            AddText(form);
        }
    } else if (IsWholeNumber(text, number)) {
        values.push_back({Value::Kind::Number, std::string(), number});
    }
    sql += name + " IN (";
    for (std::size_t i = first; i < values.size(); ++i) {
        sql += i == first ? "?" : ", ?";
    }
    sql += isNull ? "))" : ")";
}

void RowCondition::AddText(const std::string& text) {
    values.push_back({Value::Kind::Text, text, 0});
}

void RowCondition::AddTo(Query& query) const {
    for (const Value& value : values) {
        switch (value.kind) {
            case Value::Kind::Text:
                query.Add(value.text);
                break;
            case Value::Kind::Bytes:
                query.AddBytes(value.text);
                break;
            case Value::Kind::Number:
                query.Add(value.number);
                break;
        }
    }
}

}  // namespace qxdrivers::sqlite
