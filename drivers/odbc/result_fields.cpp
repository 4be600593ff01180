#include "drivers/odbc/result_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "drivers/odbc/value_text.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

std::string ResultField::AsString() {
    std::string text;
    if (!IsNull()) {
        AppendText(text);
    }
    return text;
}

void ResultField::Misfit() {
    std::string value;
    AppendText(value);
    result->ThrowMisfit(column, value);
}

namespace {

using qxdb::Column;

// Values of a fixed length.
class FixedField : public ResultField {
  public:
    using ResultField::ResultField;

  protected:
    bool IsNullInRow() override { return result->Indicator(column) == SQL_NULL_DATA; }

    template <class T>
    T Value() {
        T value;
        std::memcpy(&value, result->Cell(column), sizeof value);
        return value;
    }
};

// Whole numbers of up to 64 bits. T: as the driver delivers them.
template <class T>
class WholeField final : public FixedField {
  public:
    using FixedField::FixedField;

    __int64 AsBigInt() override { return Narrow<__int64>(); }
    long AsLong() override { return Narrow<long>(); }
    int AsInt() override { return Narrow<int>(); }
    short AsShort() override { return Narrow<short>(); }
    double AsDouble() override { return static_cast<double>(Value<T>()); }
    float AsFloat() override { return static_cast<float>(Value<T>()); }
    qxdb::Decimal AsDecimal() override {
        const auto bits = static_cast<std::uint64_t>(Value<T>());
        const bool isNegative = std::numeric_limits<T>::is_signed && bits >> 63 != 0;
        return qxdb::Decimal::FromScaled(isNegative, isNegative ? 0 - bits : bits, 0);
    }
    void AppendText(std::string& out) override {
        if constexpr (std::numeric_limits<T>::is_signed) {
            AppendWhole(static_cast<__int64>(Value<T>()), out);
        } else {
            AppendWhole(static_cast<unsigned long long>(Value<T>()), out);
        }
    }

  private:
    template <class Target>
    Target Narrow() {
        const T value = Value<T>();
        if constexpr (std::numeric_limits<T>::digits > std::numeric_limits<Target>::digits) {
            if (value > static_cast<T>(std::numeric_limits<Target>::max())) {
                Misfit();
            }
            if constexpr (std::numeric_limits<T>::is_signed) {
                if (value < static_cast<T>(std::numeric_limits<Target>::min())) {
                    Misfit();
                }
            }
        }
        return static_cast<Target>(value);
    }
};

// Floating numbers. Delivered: as the driver delivers them; T: as the server has them.
template <class Delivered, class T>
class RealField final : public FixedField {
  public:
    using FixedField::FixedField;

    double AsDouble() override { return static_cast<double>(Value<Delivered>()); }
    float AsFloat() override { return static_cast<float>(Value<Delivered>()); }
    void AppendText(std::string& out) override { AppendReal(static_cast<T>(Value<Delivered>()), out); }
};

// Text and bytes, and what arrives as text.
class VariableField : public ResultField {
  public:
    using ResultField::ResultField;

    void AppendText(std::string& out) override {
        std::size_t bytes = 0;
        bool isWide = false;
        const char* const value = result->Variable(column, bytes, isWide);
        if (value && isWide) {
            AppendUtf8(reinterpret_cast<const SQLWCHAR*>(value), bytes / sizeof(SQLWCHAR), out);
        } else if (value) {
            out.append(value, bytes);
        }
    }

  protected:
    bool IsNullInRow() override {
        std::size_t bytes = 0;
        bool isWide = false;
        return !result->Variable(column, bytes, isWide);
    }

    // The bytes of a value that is never wide; valid until the row moves.
    std::string_view Narrow() {
        std::size_t bytes = 0;
        bool isWide = false;
        const char* const value = result->Variable(column, bytes, isWide);
        return value ? std::string_view(value, bytes) : std::string_view();
    }
};

class TextField final : public VariableField {
  public:
    using VariableField::VariableField;

    void GetStringInto(qxdb::StringInsert* sink) override {
        scratch.clear();
        AppendText(scratch);
        sink->Insert(scratch);
    }

  private:
    std::string scratch;  // keeps its memory from row to row
};

// As TextField, with letters in lower case.
class LowerCaseField final : public VariableField {
  public:
    using VariableField::VariableField;

    void AppendText(std::string& out) override {
        const std::size_t begin = out.size();
        VariableField::AppendText(out);
        std::transform(out.begin() + static_cast<std::ptrdiff_t>(begin), out.end(),
                       out.begin() + static_cast<std::ptrdiff_t>(begin),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    }
};

class DecimalField final : public VariableField {
  public:
    using VariableField::VariableField;

    qxdb::Decimal AsDecimal() override {
        qxdb::Decimal value;
        if (!qxdb::Decimal::TryParse(Narrow(), value)) {
            Misfit();
        }
        return value;
    }
    double AsDouble() override { return AsDecimal().AsDouble(); }
    __int64 AsBigInt() override {
        const qxdb::Decimal value = AsDecimal();
        const __int64 whole = value.AsBigInt();
        if (value.Compare(qxdb::Decimal(whole, 0)) != 0) {
            Misfit();
        }
        return whole;
    }
};

// What the two forms of timestamps have in common: the format.
class TimestampFormatting {
  public:
    explicit TimestampFormatting(const ResultColumn& column) {
        empty.SetFormat(column.record->dateTimeFormat);
    }

  protected:
    qxdb::Timestamp empty;
};

class TimestampField final : public FixedField, private TimestampFormatting {
  public:
    TimestampField(const std::shared_ptr<ResultSet>& source, std::size_t ordinal)
        : FixedField(source, ordinal), TimestampFormatting(source->Columns()[ordinal]) {}

    qxdb::Timestamp AsTimestamp() override {
        const auto value = Value<SQL_TIMESTAMP_STRUCT>();
        qxdb::Timestamp timestamp = empty;
        timestamp.SetDate(value.year, value.month, value.day);
        if (Description().type.part != TimePart::Date) {
            timestamp.SetTime(value.hour, value.minute, value.second);
            timestamp.SetFraction(static_cast<int>(value.fraction));
        }
        return timestamp;
    }
    void AppendText(std::string& out) override { AsTimestamp().AppendTo(out); }
};

class TimestampTextField final : public VariableField, private TimestampFormatting {
  public:
    TimestampTextField(const std::shared_ptr<ResultSet>& source, std::size_t ordinal)
        : VariableField(source, ordinal),
          TimestampFormatting(source->Columns()[ordinal]),
          zeroDates(source->Core().Traits().family == Family::MySQL) {}

    qxdb::Timestamp AsTimestamp() override {
        qxdb::Timestamp timestamp = empty;
        if (!ReadTime(Narrow(), Description().type.part, zeroDates, timestamp)) {
            Misfit();
        }
        return timestamp;
    }
    std::string AsString() override { return IsNull() ? std::string() : AsTimestamp().AsString(); }

  private:
    const bool zeroDates;
};

class BinaryField final : public VariableField {
  public:
    using VariableField::VariableField;

    qxdb::DynBuffer& GetBuffer() override {
        const std::string_view bytes = Narrow();
        buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<unsigned int>(bytes.size()));
        return buffer;
    }
    void AppendText(std::string& out) override {
        const std::string_view bytes = Narrow();
        qxdb::BufferBase::AppendHex(out, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }

  private:
    qxdb::DynBuffer buffer;
};

// A large object. It is opened by the first question about it, and read once: from there on the stream goes
// on where it is.
class LobField final : public ResultField, private qxdb::RawStream {
  public:
    using ResultField::ResultField;

    qxdb::RawStream* GetStream() override {
        Open();
        return this;
    }
    qxdb::DynBuffer& GetBuffer() override {
        std::string bytes;
        Open();
        reader.ReadAll(bytes);
        buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<unsigned int>(bytes.size()));
        return buffer;
    }
    void AppendText(std::string& out) override {
        Open();
        if (Description().type.kind == ValueKind::CharacterLob) {
            reader.ReadAll(out);
            return;
        }
        std::string bytes;
        reader.ReadAll(bytes);
        qxdb::BufferBase::AppendHex(out, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }

  protected:
    bool IsNullInRow() override {
        Open();
        return reader.IsNull();
    }

  private:
    void Open() {
        if (!result->HasRow()) {
            ThrowRefusal("A large object can't be read after its row", "HY010");
        }
        if (position != result->Position()) {
            result->OpenLob(column, reader);
            position = result->Position();
        }
    }

    unsigned int Read(unsigned char* target, unsigned int length) override {
        if (!result->HasRow() || position != result->Position()) {
            ThrowRefusal("A large object can't be read after its row", "HY010");
        }
        return static_cast<unsigned int>(reader.Read(reinterpret_cast<char*>(target), length));
    }

    LongReader reader;
    unsigned long position = 0;  // of the result, when it was opened
    qxdb::DynBuffer buffer;
};

// Any field as text.
class AsTextField final : public qxdb::Field {
  public:
    explicit AsTextField(std::unique_ptr<ResultField> inner) : field(std::move(inner)) {}

    std::string GetName() override { return field->GetName(); }
    Column::BindType GetType() override { return Column::BindString; }
    qxdb::DataType::Direction GetDirection() override { return qxdb::DataType::DirectionOut; }
    bool IsNull() override { return field->IsNull(); }
    std::string AsString() override { return field->ResultField::AsString(); }
    void GetStringInto(qxdb::StringInsert* sink) override {
        scratch.clear();
        field->AppendText(scratch);
        sink->Insert(scratch);
    }

  private:
    const std::unique_ptr<ResultField> field;
    std::string scratch;
};

}  // namespace

std::unique_ptr<ResultField> MakeResultField(const std::shared_ptr<ResultSet>& result, std::size_t column) {
    const ResultColumn& description = result->Columns()[column];
    switch (description.type.kind) {
        case ValueKind::Bit:
            return std::make_unique<WholeField<unsigned char>>(result, column);
        case ValueKind::Short:
            return std::make_unique<WholeField<SQLSMALLINT>>(result, column);
        case ValueKind::Int:
            return std::make_unique<WholeField<SQLINTEGER>>(result, column);
        case ValueKind::Int64:
            return std::make_unique<WholeField<SQLBIGINT>>(result, column);
        case ValueKind::UnsignedInt64:
            return std::make_unique<WholeField<SQLUBIGINT>>(result, column);
        case ValueKind::Float:
            if (description.cType == SQL_C_DOUBLE) {
                return std::make_unique<RealField<SQLDOUBLE, SQLREAL>>(result, column);
            }
            return std::make_unique<RealField<SQLREAL, SQLREAL>>(result, column);
        case ValueKind::Double:
            return std::make_unique<RealField<SQLDOUBLE, SQLDOUBLE>>(result, column);
        case ValueKind::Decimal:
            return std::make_unique<DecimalField>(result, column);
        case ValueKind::Timestamp:
        case ValueKind::TimeOfDay:
            if (description.cType == SQL_C_TYPE_TIMESTAMP) {
                return std::make_unique<TimestampField>(result, column);
            }
            return std::make_unique<TimestampTextField>(result, column);
        case ValueKind::Binary:
            return std::make_unique<BinaryField>(result, column);
        case ValueKind::CharacterLob:
        case ValueKind::BinaryLob:
            return std::make_unique<LobField>(result, column);
        default:
            if (description.type.lowerCase) {
                return std::make_unique<LowerCaseField>(result, column);
            }
            return std::make_unique<TextField>(result, column);
    }
}

std::unique_ptr<qxdb::Field> MakeTextField(const std::shared_ptr<ResultSet>& result, std::size_t column) {
    return std::make_unique<AsTextField>(MakeResultField(result, column));
}

}  // namespace qxdrivers::odbc
