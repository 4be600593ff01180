#include "drivers/sqlite/parameters.h"

#include <sqlite3.h>

#include <limits>
#include <type_traits>
#include <utility>

#include "drivers/sqlite/failure.h"

namespace qxdrivers::sqlite {

namespace {

using qxdb::Column;
using qxdb::DataType;

constexpr long nullIndicator = -1;

template <class... T>
struct Overloaded : T... {
    using T::operator()...;
};
template <class... T>
Overloaded(T...) -> Overloaded<T...>;

// ISO text of what the column's format has: a date, a time of day, or both, with the fraction there is.
std::string TimeText(const qxdb::Timestamp& value, const Column& column) {
    const std::string wanted = column.GetDateTimeFormat();
    const bool hasDate = wanted.empty() || wanted.find('y') != std::string::npos;
    const bool hasTime = !hasDate || wanted.empty() || wanted.find_first_of("Hh") != std::string::npos;
    std::string format = hasDate ? "yyyy-MM-dd" : "";
    if (hasTime) {
        format += hasDate ? " HH:mm:ss" : "HH:mm:ss";
        int digits = 9;
        for (int fraction = value.GetFraction(); digits > 0 && fraction % 1000 == 0; fraction /= 1000) {
            digits -= 3;
        }
        if (digits > 0) {
            format += '.';
            format.append(static_cast<std::size_t>(digits), 'f');
        }
    }
    qxdb::Timestamp text = value;
    text.SetFormat(format);
    return text.AsString();
}

// Gives one value to a statement; every operation returns SQLite's code.
class Sender {
  public:
    Sender(sqlite3_stmt* target, int position, const Column& description)
        : statement(target), ordinal(position), column(description) {}

    int Null() const { return sqlite3_bind_null(statement, ordinal); }
    int Whole(__int64 value) const { return sqlite3_bind_int64(statement, ordinal, value); }
    int Real(double value) const { return sqlite3_bind_double(statement, ordinal, value); }
    int Text(const std::string& value) const {
        return sqlite3_bind_text64(statement, ordinal, value.data(), value.size(), SQLITE_TRANSIENT,
                                   SQLITE_UTF8);
    }
    int Time(const qxdb::Timestamp& value) const { return Text(TimeText(value, column)); }
    int Bytes(const unsigned char* bytes, unsigned int count) const {
        // Without an address SQLite would store NULL.
        return bytes ? sqlite3_bind_blob64(statement, ordinal, bytes, count, SQLITE_TRANSIENT)
                     : sqlite3_bind_zeroblob(statement, ordinal, 0);
    }
    // As a number where SQLite has one of the same value.
    int Exact(const qxdb::Decimal& value) const {
        if (value.GetScale() == 0) {
            const __int64 whole = value.AsBigInt();
            if (qxdb::Decimal(whole, 0).Compare(value) == 0) {
                return Whole(whole);
            }
        }
        const double real = value.AsDouble();
        return qxdb::Decimal(real).Compare(value) == 0 ? Real(real) : Text(value.AsString(false, -1));
    }

  private:
    sqlite3_stmt* statement;
    int ordinal;
    const Column& column;
};

int SendValue(const Sender& sender, const ParameterValue& value) {
    return std::visit(
        Overloaded{
            [&](std::monostate) { return sender.Null(); },
            [&](__int64 whole) { return sender.Whole(whole); },
            [&](double real) { return sender.Real(real); },
            [&](const std::string& text) { return sender.Text(text); },
            [&](const qxdb::Decimal& decimal) { return sender.Exact(decimal); },
            [&](const qxdb::Timestamp& time) { return sender.Time(time); },
            [&](const qxdb::DynBuffer& bytes) { return sender.Bytes(bytes.GetData(), bytes.GetLength()); },
        },
        value);
}

int SendStorage(const Sender& sender, qxdb::BoundStorage storage) {
    return std::visit(
        Overloaded{
            [&](float* value) { return sender.Real(static_cast<double>(*value)); },
            [&](double* value) { return sender.Real(*value); },
            [&](qxdb::BufferBase* value) { return sender.Bytes(value->GetData(), value->GetLength()); },
            [&](qxdb::Timestamp* value) { return sender.Time(*value); },
            [&](qxdb::BasicFixedString<char>& value) { return sender.Text(value.Text()); },
            [&](qxdb::FixedDecimal& value) { return sender.Exact(value.Value()); },
            [&](auto* value) { return sender.Whole(*value); },
        },
        storage);
}

// A parameter as its statement or its hint describes it. The name in the text wins. SQLite gives a parameter
// no type: without a hint it takes a value of any.
std::shared_ptr<const Column> Describe(const char* name, const qxdb::Schema& hint, unsigned int index) {
    auto record = std::make_shared<qxdb::ColumnRecord>();
    record->type = Column::BindUnknown;
    if (index < hint.GetNumberColumns()) {
        const Column& hinted = hint[index];
        record->name = hinted.GetName();
        record->type = hinted.GetType();
        record->nativeType = hinted.GetNativeType();
        record->nativeTypeName = hinted.GetNativeTypeName();
        record->scale = hinted.GetScale();
        record->lobFlags = hinted.GetLobFlags();
        record->dateTimeFormat = hinted.GetDateTimeFormat();
    }
    if (name) {
        record->name = name + 1;  // behind the prefix
    }
    return record;
}

class ParameterField : public qxdb::Field {
  public:
    ParameterField(std::shared_ptr<ParameterBinding> owner, std::size_t index, bool asString)
        : binding(std::move(owner)), slot(binding->Slot(index)), isString(asString) {}

    std::string GetName() override { return slot.column->GetName(); }
    Column::BindType GetType() override { return isString ? Column::BindString : slot.column->GetType(); }
    DataType::Direction GetDirection() override { return DataType::DirectionIn; }
    bool IsNull() override { return std::holds_alternative<std::monostate>(slot.value); }
    void SetNull() override { Set(std::monostate()); }

    qxdb::DynBuffer& GetBuffer() override {
        if (!std::holds_alternative<qxdb::DynBuffer>(slot.value)) {
            Set(qxdb::DynBuffer());
        }
        return std::get<qxdb::DynBuffer>(slot.value);
    }

    std::string AsString() override {
        return std::visit(Overloaded{
                              [](std::monostate) { return std::string(); },
                              [](__int64 whole) { return std::to_string(whole); },
                              [](double real) {
                                  std::string text;
                                  qxdb::Decimal::AppendDouble(real, text);
                                  return text;
                              },
                              [](const std::string& text) { return text; },
                              [](const qxdb::Decimal& decimal) { return decimal.AsString(false, -1); },
                              [](const qxdb::Timestamp& time) { return time.AsString(); },
                              [](const qxdb::DynBuffer& bytes) {
                                  std::string text;
                                  qxdb::BufferBase::AppendHex(text, bytes.GetData(), bytes.GetLength());
                                  return text;
                              },
                          },
                          slot.value);
    }
    short AsShort() override { return Whole<short>("AsShort"); }
    int AsInt() override { return Whole<int>("AsInt"); }
    long AsLong() override { return Whole<long>("AsLong"); }
    float AsFloat() override { return static_cast<float>(Get<double>("AsFloat")); }
    double AsDouble() override { return Get<double>("AsDouble"); }
    qxdb::Decimal AsDecimal() override { return Get<qxdb::Decimal>("AsDecimal"); }
    qxdb::Timestamp AsTimestamp() override { return Get<qxdb::Timestamp>("AsTimestamp"); }
    __int64 AsBigInt() override { return Get<__int64>("AsBigInt"); }

    void SetBigInt(__int64 value) override { Set(value); }
    void SetTimestamp(const qxdb::Timestamp& value) override { Set(value); }
    void SetDecimal(const qxdb::Decimal& value) override { Set(value); }
    void SetDouble(double value) override { Set(value); }
    void SetFloat(float value) override { Set(static_cast<double>(value)); }
    void SetLong(long value) override { Set(static_cast<__int64>(value)); }
    void SetInt(int value) override { Set(static_cast<__int64>(value)); }
    void SetShort(short value) override { Set(static_cast<__int64>(value)); }
    void SetString(const std::string& value) override { Set(value); }

  private:
    template <class T>
    void Set(T value) {
        slot.storage.reset();
        slot.indicator = nullptr;
        slot.value = std::move(value);
    }

    // Reads what a setter of the same kind gave.
    template <class T>
    const T& Get(const char* operation) {
        const T* value = std::get_if<T>(&slot.value);
        if (!value) {
            Refuse(operation);
        }
        return *value;
    }

    template <class T>
    T Whole(const char* operation) {
        const __int64 value = Get<__int64>(operation);
        if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max()) {
            Refuse(operation);
        }
        return static_cast<T>(value);
    }

    const std::shared_ptr<ParameterBinding> binding;
    ParameterSlot& slot;
    const bool isString;
};

}  // namespace

ParameterBinding::ParameterBinding(sqlite3_stmt* statement, const qxdb::Schema& hint) {
    const int count = statement ? sqlite3_bind_parameter_count(statement) : 0;
    slots.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        slots[static_cast<std::size_t>(i)].column =
            Describe(sqlite3_bind_parameter_name(statement, i + 1), hint, static_cast<unsigned int>(i));
    }
}

qxdb::Schema ParameterBinding::GetSchema() {
    qxdb::Schema::Columns columns;
    for (const ParameterSlot& slot : slots) {
        columns.push_back(slot.column);
    }
    return qxdb::Schema(std::move(columns));
}

unsigned int ParameterBinding::GetNextBind() {
    unsigned int ordinal = 1;
    while (ordinal <= slots.size() && slots[ordinal - 1].storage) {
        ++ordinal;
    }
    return ordinal;
}

void ParameterBinding::Bind(DataType::Direction direction, unsigned int ordinal,
                            const qxdb::BoundStorage& value, long* indicator) {
    if (direction != DataType::DirectionIn) {
        ThrowRefusal("SQLite has no output parameters (parameter " + std::to_string(ordinal) + ")", "0A000");
    }
    if (ordinal == 0 || ordinal > slots.size()) {
        ThrowRefusal("The statement has " + std::to_string(slots.size()) + " parameter(s), so there is no " +
                         std::to_string(ordinal),
                     "07009");
    }
    ParameterSlot& slot = slots[ordinal - 1];
    slot.value = std::monostate();
    slot.storage.emplace(value);
    slot.indicator = indicator;
}

std::vector<std::unique_ptr<qxdb::Field>> ParameterBinding::MakeFields(
    bool bindAsStrings, const qxdb::ExclusionIndex& exclusion) {
    std::vector<std::unique_ptr<qxdb::Field>> fields;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (exclusion.count(static_cast<unsigned int>(i)) == 0) {
            fields.push_back(std::make_unique<ParameterField>(shared_from_this(), i, bindAsStrings));
        }
    }
    return fields;
}

void ParameterBinding::Send(sqlite3_stmt* statement) const {
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const ParameterSlot& slot = slots[i];
        const Sender sender(statement, static_cast<int>(i) + 1, *slot.column);
        const bool isNull = slot.indicator && *slot.indicator == nullIndicator;
        const int code = isNull         ? sender.Null()
                         : slot.storage ? SendStorage(sender, *slot.storage)
                                        : SendValue(sender, slot.value);
        if (code != SQLITE_OK) {
            ThrowLastFailure(sqlite3_db_handle(statement), Stage::Run, Place());
        }
    }
}

}  // namespace qxdrivers::sqlite
