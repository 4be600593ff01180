#include "drivers/odbc/parameter_buffers.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "drivers/odbc/value_text.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;
using qxdb::DataType;

// Longer values are long types to servers that tell them apart.
constexpr std::size_t longestVarchar = 4000;
constexpr std::size_t longestVarbinary = 8000;
// Room for an output of no known length.
constexpr std::size_t outputBytes = 128 * 1024;
constexpr std::size_t numberBytes = 512;

template <class Buffer>
void SetData(Buffer& buffer, const void* bytes, std::size_t count) {
    // One unit more than needed, so that there is always an address, and a terminator.
    buffer.data.assign(count / sizeof(SQLWCHAR) + 2, 0);
    std::memcpy(buffer.data.data(), bytes, count);
    buffer.bytes = static_cast<SQLLEN>(count);
    buffer.indicator = static_cast<SQLLEN>(count);
}

SQLSMALLINT OdbcDirection(DataType::Direction direction) {
    return direction == DataType::DirectionOut     ? SQL_PARAM_OUTPUT
           : direction == DataType::DirectionInOut ? SQL_PARAM_INPUT_OUTPUT
                                                   : SQL_PARAM_INPUT;
}

bool IsTimeOnly(const qxdb::Timestamp& time) {
    return time.GetYear() == 0 && time.GetMonth() == 0 && time.GetDay() == 0 &&
           (time.GetHour() != 0 || time.GetMinute() != 0 || time.GetSeconds() != 0 ||
            time.GetFraction() != 0);
}

// Digits in a number, without sign and point.
SQLULEN CountDigits(const std::string& number) {
    return static_cast<SQLULEN>(std::max<std::ptrdiff_t>(
        std::count_if(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; }), 1));
}

}  // namespace

ParameterBuffers::ParameterBuffers(std::shared_ptr<StatementCore> owner, const std::vector<Use>& uses,
                                   unsigned int first)
    : core(std::move(owner)) {
    buffers.resize(uses.size());
    for (std::size_t i = 0; i < uses.size(); ++i) {
        Buffer& buffer = buffers[i];
        ParameterSlot& slot = *uses[i].slot;
        buffer.slot = &slot;
        buffer.isOutput = slot.IsOutput() && !uses[i].asInput;
        buffer.direction = buffer.isOutput ? OdbcDirection(slot.direction) : SQL_PARAM_INPUT;
        Fill(buffer, slot.IsInput() ? slot.Current() : ParameterValue());
        if (slot.description.native.sqlType != SQL_UNKNOWN_TYPE && !IsTextOfTime(slot)) {
            buffer.sqlType = slot.description.native.sqlType;
        }
        if (buffer.isOutput) {
            MakeRoom(buffer);
        }
        core->Call("SQLBindParameter", [&] {
            return SQLBindParameter(core->Raw(), static_cast<SQLUSMALLINT>(first + i + 1), buffer.direction,
                                    buffer.cType, buffer.sqlType, buffer.columnSize, buffer.digits,
                                    buffer.data.data(), buffer.bytes, &buffer.indicator);
        });
    }
}

ParameterBuffers::~ParameterBuffers() {
    SQLFreeStmt(core->Raw(), SQL_RESET_PARAMS);
}

// MySQL's driver would look at the text of a time, and knows neither spans of time nor dates of zeros.
bool ParameterBuffers::IsTextOfTime(const ParameterSlot& slot) const {
    const SQLSMALLINT type = slot.description.native.sqlType;
    return core->Traits().family == Family::MySQL &&
           (type == SQL_TYPE_DATE || type == SQL_TYPE_TIME || type == SQL_TYPE_TIMESTAMP);
}

void ParameterBuffers::Fill(Buffer& buffer, const ParameterValue& value) const {
    if (const auto* const whole = std::get_if<__int64>(&value)) {
        const auto number = static_cast<SQLBIGINT>(*whole);
        buffer.cType = SQL_C_SBIGINT;
        buffer.sqlType = SQL_BIGINT;
        buffer.columnSize = 19;
        SetData(buffer, &number, sizeof number);
    } else if (const auto* const real = std::get_if<double>(&value)) {
        if (core->Traits().family == Family::PostgreSQL) {
            // The driver writes numbers with 15 digits only.
            FillText(buffer, TextOf(value), SQL_DOUBLE, true);
            return;
        }
        buffer.cType = SQL_C_DOUBLE;
        buffer.sqlType = SQL_DOUBLE;
        buffer.columnSize = 15;
        SetData(buffer, real, sizeof *real);
    } else if (const auto* const text = std::get_if<std::string>(&value)) {
        FillText(buffer, *text, SQL_UNKNOWN_TYPE, false);
    } else if (const auto* const decimal = std::get_if<qxdb::Decimal>(&value)) {
        const std::string digits = TextOf(value);
        FillText(buffer, digits, SQL_DECIMAL, true);
        buffer.columnSize = CountDigits(digits);
        buffer.digits = static_cast<SQLSMALLINT>(decimal->GetScale());
    } else if (const auto* const time = std::get_if<qxdb::Timestamp>(&value)) {
        FillTime(buffer, *time);
    } else if (const auto* const bytes = std::get_if<qxdb::DynBuffer>(&value)) {
        buffer.cType = SQL_C_BINARY;
        buffer.sqlType = bytes->GetLength() > longestVarbinary ? SQL_LONGVARBINARY : SQL_VARBINARY;
        buffer.columnSize = std::max<SQLULEN>(bytes->GetLength(), 1);
        static constexpr unsigned char none = 0;
        SetData(buffer, bytes->GetLength() > 0 ? bytes->GetData() : &none, bytes->GetLength());
    } else {
        FillNull(buffer);
    }
}

void ParameterBuffers::FillText(Buffer& buffer, const std::string& text, SQLSMALLINT defaultType,
                                bool plainAscii) const {
    std::size_t length = text.size();
    if (plainAscii || core->Traits().narrowText) {
        buffer.cType = SQL_C_CHAR;
        buffer.sqlType = length > longestVarchar ? SQL_LONGVARCHAR : SQL_VARCHAR;
        SetData(buffer, text.data(), length);
    } else {
        const WideText wide = ToWide(text);
        length = wide.size();
        buffer.cType = SQL_C_WCHAR;
        buffer.sqlType = length > longestVarchar ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
        static constexpr SQLWCHAR none = 0;
        SetData(buffer, length > 0 ? wide.data() : &none, length * sizeof(SQLWCHAR));
    }
    buffer.columnSize = std::max<SQLULEN>(length, 1);
    if (defaultType != SQL_UNKNOWN_TYPE) {
        buffer.sqlType = defaultType;
    }
}

void ParameterBuffers::FillTime(Buffer& buffer, const qxdb::Timestamp& time) const {
    TimePart part = buffer.slot->description.type.part;
    if (part == TimePart::None) {
        part = IsTimeOnly(time) ? TimePart::TimeOfDay : TimePart::DateTime;
    }
    const Family family = core->Traits().family;
    if (family == Family::MySQL || family == Family::PostgreSQL || part == TimePart::TimeOfDay) {
        // Their drivers change dates with zeros in them, and drop the fraction of a time of day.
        const SQLSMALLINT type = part == TimePart::Date        ? SQL_TYPE_DATE
                                 : part == TimePart::TimeOfDay ? SQL_TYPE_TIME
                                                               : SQL_TYPE_TIMESTAMP;
        const std::string text = TimeText(time, part);
        FillText(buffer, text, family == Family::MySQL ? SQLSMALLINT{SQL_VARCHAR} : type, true);
        return;
    }
    SQL_TIMESTAMP_STRUCT value = {};
    value.year = static_cast<SQLSMALLINT>(time.GetYear());
    value.month = static_cast<SQLUSMALLINT>(time.GetMonth());
    value.day = static_cast<SQLUSMALLINT>(time.GetDay());
    value.hour = static_cast<SQLUSMALLINT>(time.GetHour());
    value.minute = static_cast<SQLUSMALLINT>(time.GetMinute());
    value.second = static_cast<SQLUSMALLINT>(time.GetSeconds());
    value.fraction = static_cast<SQLUINTEGER>(time.GetFraction());
    buffer.cType = SQL_C_TYPE_TIMESTAMP;
    buffer.sqlType = SQL_TYPE_TIMESTAMP;
    const std::string text = TimeText(time, TimePart::DateTime);
    buffer.columnSize = text.size();
    buffer.digits = static_cast<SQLSMALLINT>(text.size() > 20 ? text.size() - 20 : 0);
    SetData(buffer, &value, sizeof value);
}

// In the form in which an output of the type would come, so that one buffer serves both ways.
void ParameterBuffers::FillNull(Buffer& buffer) const {
    const ParameterDescription& description = buffer.slot->description;
    switch (description.type.bindType) {
        case Column::BindShort:
        case Column::BindInt:
        case Column::BindLong:
        case Column::BindInt64:
            Fill(buffer, ParameterValue(__int64{0}));
            break;
        case Column::BindFloat:
        case Column::BindDouble:
            Fill(buffer, ParameterValue(0.0));
            break;
        case Column::BindDecimal:
            FillText(buffer, "0", SQL_DECIMAL, true);
            buffer.columnSize = std::clamp<SQLULEN>(description.native.size, 1, 65);
            buffer.digits = static_cast<SQLSMALLINT>(description.type.scale);
            break;
        case Column::BindTimestamp:
            FillTime(buffer, qxdb::Timestamp());
            break;
        case Column::BindBinary:
            Fill(buffer, ParameterValue(qxdb::DynBuffer()));
            break;
        default:
            FillText(buffer, std::string(), SQL_UNKNOWN_TYPE, false);
            break;
    }
    buffer.indicator = SQL_NULL_DATA;
}

void ParameterBuffers::MakeRoom(Buffer& buffer) const {
    const SQLULEN declared = buffer.slot->description.native.size;
    std::size_t room = static_cast<std::size_t>(buffer.bytes);
    if (buffer.cType == SQL_C_CHAR || buffer.cType == SQL_C_WCHAR || buffer.cType == SQL_C_BINARY) {
        const bool isText = buffer.slot->description.type.bindType == Column::BindString ||
                            buffer.slot->description.type.bindType == Column::BindBinary;
        const std::size_t wanted =
            isText ? std::clamp<std::size_t>(declared * 4, outputBytes, 4 * longestPlainValue) : numberBytes;
        room = std::max(room, wanted);
        buffer.columnSize = std::max<SQLULEN>(buffer.columnSize, declared);
    }
    buffer.data.resize(room / sizeof(SQLWCHAR) + 2, 0);
    buffer.bytes = static_cast<SQLLEN>(room);
}

void ParameterBuffers::ReadOutputs() {
    for (const Buffer& buffer : buffers) {
        if (buffer.isOutput) {
            buffer.slot->SetOutput(ReadOutput(buffer));
        }
    }
}

ParameterValue ParameterBuffers::ReadOutput(const Buffer& buffer) const {
    if (buffer.indicator == SQL_NULL_DATA) {
        return ParameterValue();
    }
    const ParameterDescription& description = buffer.slot->description;
    if (buffer.cType == SQL_C_SBIGINT) {
        SQLBIGINT number = 0;
        std::memcpy(&number, buffer.data.data(), sizeof number);
        return static_cast<__int64>(number);
    }
    if (buffer.cType == SQL_C_DOUBLE) {
        double number = 0;
        std::memcpy(&number, buffer.data.data(), sizeof number);
        return number;
    }
    if (buffer.cType == SQL_C_TYPE_TIMESTAMP) {
        SQL_TIMESTAMP_STRUCT value;
        std::memcpy(&value, buffer.data.data(), sizeof value);
        qxdb::Timestamp time;
        time.SetFormat(description.record->dateTimeFormat);
        time.SetDate(value.year, value.month, value.day);
        time.SetTime(value.hour, value.minute, value.second);
        time.SetFraction(static_cast<int>(value.fraction));
        return time;
    }
    const auto length = static_cast<std::size_t>(buffer.indicator);
    const std::size_t terminator = buffer.cType == SQL_C_BINARY ? 0 : buffer.cType == SQL_C_CHAR ? 1 : 2;
    if (buffer.indicator == SQL_NO_TOTAL || length + terminator > static_cast<std::size_t>(buffer.bytes)) {
        ThrowRefusal("The value of the output parameter \"" + description.record->name +
                         "\" is longer than the " + std::to_string(buffer.bytes) + " bytes kept for it",
                     "22001");
    }
    const auto* const bytes = reinterpret_cast<const char*>(buffer.data.data());
    if (buffer.cType == SQL_C_BINARY) {
        return ValueFromBytes(std::string(bytes, length));
    }
    std::string text;
    if (buffer.cType == SQL_C_WCHAR) {
        AppendUtf8(buffer.data.data(), length / sizeof(SQLWCHAR), text);
    } else {
        text.assign(bytes, length);
    }
    return ValueFromText(text, description.type, description.record->dateTimeFormat);
}

}  // namespace qxdrivers::odbc
