#include "drivers/sqlite/result_fields.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/value_text.h"

namespace qxdrivers::sqlite {

namespace {

using qxdb::Column;

// Makes decimals of a scale of the numbers that SQLite keeps.
class DecimalReader {
  public:
    explicit DecimalReader(unsigned int digits)
        : scale(digits), factor(scale < std::size(powers) ? powers[scale] : 0) {}

    qxdb::Decimal FromInteger(__int64 value) const {
        const bool negative = value < 0;
        const auto bits = static_cast<std::uint64_t>(value);
        const std::uint64_t magnitude = negative ? 0 - bits : bits;
        if (factor != 0 && magnitude <= std::numeric_limits<std::uint64_t>::max() / factor) {
            return qxdb::Decimal::FromScaled(negative, magnitude * factor, scale);
        }
        return Padded(qxdb::Decimal(value, 0));
    }

    // SQLite keeps a DECIMAL as REAL. Where a number with the declared digits has this very double, that is
    // the number that was stored: both sides of the division are exact, so it gives the double that is
    // nearest to the number. Otherwise the shortest digits that read back as the double. `value` is finite.
    qxdb::Decimal FromReal(double value) const {
        constexpr double exactLimit = 9007199254740992.0;  // whole numbers up to here are exact
        const double unit = static_cast<double>(factor);
        const double scaled = std::fabs(value) * unit;
        if (factor != 0 && scaled < exactLimit) {
            const auto magnitude = static_cast<std::uint64_t>(scaled + 0.5);
            if (static_cast<double>(magnitude) / unit == std::fabs(value)) {
                return qxdb::Decimal::FromScaled(value < 0, magnitude, scale);
            }
        }
        return Padded(qxdb::Decimal(value));
    }

    // At least the digits of the scale.
    qxdb::Decimal Padded(qxdb::Decimal value) const {
        if (value.GetScale() < static_cast<int>(scale)) {
            value.SetScale(scale, qxdb::Decimal::RoundHalfUp);
        }
        return value;
    }

  private:
    // Powers of ten whose double is exact and which 64 bits hold.
    static constexpr std::uint64_t powers[] = {1,
                                               10,
                                               100,
                                               1000,
                                               10000,
                                               100000,
                                               1000000,
                                               10000000,
                                               100000000,
                                               1000000000,
                                               10000000000,
                                               100000000000,
                                               1000000000000,
                                               10000000000000,
                                               100000000000000,
                                               1000000000000000,
                                               10000000000000000,
                                               100000000000000000,
                                               1000000000000000000};

    const unsigned int scale;
    const std::uint64_t factor;  // 10^scale, 0 when that is beyond the table
};

// A number; also the base of the other kinds, since whole numbers can be read from all of them that hold one.
// A value is looked up once for each row, by whichever read comes first; it is read by its storage class, of
// which the usual one costs one comparison. SQLite allows the reads of a looked-up value on the thread of the
// connection only, which is where fields are used.
class ResultField : public qxdb::Field {
  public:
    ResultField(std::shared_ptr<Run> source, int ordinal, Column::BindType bindType)
        : run(std::move(source)), column(ordinal), type(bindType) {}

    std::string GetName() override { return Description().record->name; }
    Column::BindType GetType() override { return type; }
    qxdb::DataType::Direction GetDirection() override { return qxdb::DataType::DirectionOut; }
    bool IsNull() override { return Storage() == SQLITE_NULL; }

    std::string AsString() override {
        std::string text;
        AppendValue(Value(), text);
        return text;
    }

    __int64 AsBigInt() override {
        const int kind = Storage();
        if (kind == SQLITE_INTEGER) {
            return sqlite3_value_int64(current);
        }
        __int64 whole = 0;
        if (kind != SQLITE_FLOAT || !ToInt64(sqlite3_value_double(current), whole)) {
            Misfit();
        }
        return whole;
    }
    short AsShort() override { return Narrow<short>(); }
    int AsInt() override { return Narrow<int>(); }
    long AsLong() override { return Narrow<long>(); }

    double AsDouble() override {
        const int kind = Storage();
        if (kind == SQLITE_FLOAT) {
            return sqlite3_value_double(current);
        }
        double number = 0;
        if (kind != SQLITE_INTEGER || !AsExactDouble(sqlite3_value_int64(current), number)) {
            Misfit();
        }
        return number;
    }
    qxdb::Decimal AsDecimal() override {
        static const DecimalReader plain(0);
        return ReadDecimal(plain);
    }
    // The nearest single.
    float AsFloat() override { return static_cast<float>(AsDouble()); }

  protected:
    // SQLITE_INTEGER and so on.
    int Storage() {
        LookUp();
        return currentStorage;
    }
    sqlite3_value* Value() {
        LookUp();
        return current;
    }
    const ResultColumn& Description() const { return run->Columns()[static_cast<std::size_t>(column)]; }

    qxdb::Decimal ReadDecimal(const DecimalReader& reader) {
        const int kind = Storage();
        if (kind == SQLITE_INTEGER) {
            return reader.FromInteger(sqlite3_value_int64(current));
        }
        if (kind == SQLITE_FLOAT) {
            const double number = sqlite3_value_double(current);
            if (!std::isfinite(number)) {
                Misfit();
            }
            return reader.FromReal(number);
        }
        qxdb::Decimal decimal;
        if (kind != SQLITE_TEXT || !qxdb::Decimal::TryParse(TextOf(current), decimal)) {
            Misfit();
        }
        return reader.Padded(decimal);
    }

    [[noreturn]] void Misfit() const { run->ThrowMisfit(column, Description().type.name); }

    const std::shared_ptr<Run> run;

  private:
    void LookUp() {
        if (position != run->Position()) {
            position = run->Position();
            current = sqlite3_column_value(run->Raw(), column);
            currentStorage = sqlite3_value_type(current);
        }
    }

    template <class T>
    T Narrow() {
        const __int64 whole = AsBigInt();
        if (whole < std::numeric_limits<T>::min() || whole > std::numeric_limits<T>::max()) {
            Misfit();
        }
        return static_cast<T>(whole);
    }

    const int column;
    const Column::BindType type;
    unsigned long position = std::numeric_limits<unsigned long>::max();  // of the run, at the last look-up
    sqlite3_value* current = nullptr;
    int currentStorage = SQLITE_NULL;
};

// Characters: TEXT as it is, numbers as text.
class TextField : public ResultField {
  public:
    TextField(std::shared_ptr<Run> source, int ordinal)
        : ResultField(std::move(source), ordinal, Column::BindString) {}

    void GetStringInto(qxdb::StringInsert* sink) override {
        Read(scratch);
        sink->Insert(scratch);
    }
    std::string AsString() override {
        std::string text;
        Read(text);
        return text;
    }

  protected:
    virtual void Read(std::string& text) {
        const int storage = Storage();
        if (storage == SQLITE_TEXT) {
            const std::string_view value = TextOf(Value());
            text.assign(value.data(), value.size());
        } else if (storage == SQLITE_BLOB) {
            Misfit();
        } else {
            text.clear();
            AppendValue(Value(), text);
        }
    }

  private:
    std::string scratch;  // keeps its memory from row to row
};

// Any value as text, for a caller that asks for nothing but text.
class AnyTextField : public TextField {
  public:
    using TextField::TextField;

  protected:
    void Read(std::string& text) override {
        text.clear();
        AppendValue(Value(), text);
    }
};

class DecimalField : public ResultField {
  public:
    DecimalField(std::shared_ptr<Run> source, int ordinal)
        : ResultField(std::move(source), ordinal, Column::BindDecimal),
          reader(static_cast<unsigned int>(Description().type.scale)) {}

    qxdb::Decimal AsDecimal() override { return ReadDecimal(reader); }
    std::string AsString() override { return IsNull() ? std::string() : AsDecimal().AsString(false, -1); }

  private:
    const DecimalReader reader;
};

class TimestampField : public ResultField {
  public:
    TimestampField(std::shared_ptr<Run> source, int ordinal)
        : ResultField(std::move(source), ordinal, Column::BindTimestamp),
          part(Description().type.part),
          ownFormat(Description().ownFormat) {
        empty.SetFormat(Description().record->dateTimeFormat);
        for (int i = Description().type.scale; i < 9; ++i) {
            smallestShown *= 10;
        }
    }

    qxdb::Timestamp AsTimestamp() override {
        qxdb::Timestamp value = empty;
        if (Storage() != SQLITE_TEXT || !Read(TextOf(Value()), value)) {
            Misfit();
        }
        return value;
    }

    std::string AsString() override { return IsNull() ? std::string() : AsTimestamp().AsString(); }

  private:
    bool Read(std::string_view text, qxdb::Timestamp& value) const {
        if (!ownFormat) {
            return ParseTime(text, part, value) || value.Parse(text);
        }
        return ParseTime(text, part, value) && IsShown(value);
    }

    // What the column's format does not show would be lost in every text made of the value.
    bool IsShown(const qxdb::Timestamp& value) const {
        if (part == TimePart::Date) {
            return value.GetHour() == 0 && value.GetMinute() == 0 && value.GetSeconds() == 0 &&
                   value.GetFraction() == 0;
        }
        return value.GetFraction() == 0 || value.GetFraction() % smallestShown == 0;
    }

    qxdb::Timestamp empty;  // has the column's format
    const TimePart part;
    const bool ownFormat;
    int smallestShown = 1;  // nanoseconds of the last digit of the format
};

class BinaryField : public ResultField {
  public:
    BinaryField(std::shared_ptr<Run> source, int ordinal)
        : ResultField(std::move(source), ordinal, Column::BindBinary) {}

    qxdb::DynBuffer& GetBuffer() override {
        const int storage = Storage();
        if (storage == SQLITE_INTEGER || storage == SQLITE_FLOAT) {
            Misfit();
        }
        const std::string_view bytes = BytesOf(Value());
        buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<unsigned int>(bytes.size()));
        return buffer;
    }

  private:
    qxdb::DynBuffer buffer;
};

// Reads from SQLite's own memory, which is valid while the row is the current one.
class ValueStream : public qxdb::RawStream {
  public:
    void Open(const Run& source, std::string_view value) {
        run = &source;
        row = source.Row();
        rest = value;
    }

    unsigned int Read(unsigned char* target, unsigned int length) override {
        if (!run || run->Row() != row || !run->HasRow()) {
            ThrowRefusal("A large object can't be read after its row", "HY010");
        }
        const std::size_t count = std::min<std::size_t>(length, rest.size());
        if (count > 0) {
            std::memcpy(target, rest.data(), count);
            rest.remove_prefix(count);
        }
        return static_cast<unsigned int>(count);
    }

  private:
    const Run* run = nullptr;
    __int64 row = 0;
    std::string_view rest;
};

class LobField : public ResultField {
  public:
    LobField(std::shared_ptr<Run> source, int ordinal)
        : ResultField(std::move(source), ordinal, Column::BindLob), binary(Description().type.binary) {}

    qxdb::RawStream* GetStream() override {
        stream.Open(*run, Characters());
        return &stream;
    }

    std::string AsString() override {
        Characters();  // refuses what does not fit
        return ResultField::AsString();
    }

  private:
    std::string_view Characters() {
        const int storage = Storage();
        const bool number = storage == SQLITE_INTEGER || storage == SQLITE_FLOAT;
        if (binary ? number : storage == SQLITE_BLOB) {
            Misfit();
        }
        if (!number) {
            return BytesOf(Value());
        }
        digits.clear();
        AppendValue(Value(), digits);
        return digits;
    }

    const bool binary;
    std::string digits;  // of a number that is read as characters
    ValueStream stream;
};

}  // namespace

std::unique_ptr<qxdb::Field> MakeResultField(const std::shared_ptr<Run>& run, int column, bool asString) {
    if (asString) {
        return std::make_unique<AnyTextField>(run, column);
    }
    const Column::BindType type = run->Columns()[static_cast<std::size_t>(column)].type.type;
    switch (type) {
        case Column::BindString:
            return std::make_unique<TextField>(run, column);
        case Column::BindDecimal:
            return std::make_unique<DecimalField>(run, column);
        case Column::BindTimestamp:
            return std::make_unique<TimestampField>(run, column);
        case Column::BindBinary:
            return std::make_unique<BinaryField>(run, column);
        case Column::BindLob:
            return std::make_unique<LobField>(run, column);
        default:
            return std::make_unique<ResultField>(run, column, type);
    }
}

}  // namespace qxdrivers::sqlite
