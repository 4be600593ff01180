#include "support/scripted_fields.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <utility>

namespace qxtest {

namespace {

std::string Text(const std::string& value) {
    return value;
}
std::string Text(const LobCell& value) {
    return value.bytes;
}
std::string Text(const NestedCell&) {
    throw MakeErrors("A nested cursor has no text");
}
std::string Text(const NullCell&) {
    return std::string();
}
std::string Text(const FailingCell& value) {
    throw value.errors;
}
std::string Text(const qxdb::Decimal& value) {
    return value.AsString(false, -1);
}
std::string Text(const qxdb::Timestamp& value) {
    return value.AsString();
}
template <class T>
std::string Text(const T& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

class NestedBinding : public qxdb::BindValueImpl {
  public:
    NestedBinding(std::shared_ptr<const Result> scriptedResult, std::shared_ptr<CurrentRow> currentRow)
        : result(std::move(scriptedResult)), row(std::move(currentRow)) {}

    qxdb::Schema GetSchema() override { return qxdb::Schema(result->columns); }
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override {
        std::vector<std::unique_ptr<qxdb::Field>> fields;
        for (unsigned int i = 0; i < result->columns.size(); ++i) {
            if (exclusion.count(i) == 0)
                fields.push_back(std::make_unique<ScriptField>(result->columns[i], row, i, bindAsStrings));
        }
        return fields;
    }

  private:
    std::shared_ptr<const Result> result;
    std::shared_ptr<CurrentRow> row;
};

class NestedCursor : public qxdb::CursorImpl {
  public:
    explicit NestedCursor(std::shared_ptr<const Result> scriptedResult)
        : result(std::move(scriptedResult)), row(std::make_shared<CurrentRow>()) {}

    bool Fetch() override {
        for (const Result::RowEvent& event : result->rowEvents) {
            if (event.row == next && event.action)
                event.action();
        }
        ++row->number;
        const bool found = next < static_cast<int>(result->rows.size());
        row->cells = found ? &result->rows[static_cast<std::size_t>(next++)] : nullptr;
        return found;
    }
    std::shared_ptr<qxdb::BindValueImpl> Bind() override {
        return std::make_shared<NestedBinding>(result, row);
    }
    unsigned int GetRowCount() override { throw MakeErrors("A nested cursor has no row count"); }

  private:
    std::shared_ptr<const Result> result;
    std::shared_ptr<CurrentRow> row;
    int next = 0;
};

}  // namespace

void CellStream::Start(const LobCell& newLob) {
    lob = &newLob;
    position = 0;
}

unsigned int CellStream::Read(unsigned char* buffer, unsigned int length) {
    std::size_t count = std::min<std::size_t>(length, lob->bytes.size() - position);
    if (lob->blockSize > 0)
        count = std::min<std::size_t>(count, lob->blockSize);
    std::copy_n(lob->bytes.begin() + static_cast<std::ptrdiff_t>(position), count, buffer);
    position += count;
    wasRead = true;
    return static_cast<unsigned int>(count);
}

ScriptField::ScriptField(std::shared_ptr<const qxdb::Column> fieldColumn,
                         std::shared_ptr<CurrentRow> currentRow, unsigned int fieldIndex, bool bindAsString)
    : column(std::move(fieldColumn)), row(std::move(currentRow)), index(fieldIndex), asString(bindAsString) {}

bool ScriptField::IsNull() {
    const Cell::Value& value = Value();
    const LobCell* const lob = std::get_if<LobCell>(&value);
    if (lob != nullptr)
        return lob->nullAfterRead && streamRow == row->number && stream.wasRead;
    return std::holds_alternative<NullCell>(value);
}

qxdb::RawStream* ScriptField::GetStream() {
    const LobCell* const lob = std::get_if<LobCell>(&Value());
    if (lob == nullptr)
        Refuse("stream");
    if (streamRow != row->number) {
        streamRow = row->number;
        stream.wasRead = false;
        stream.Start(*lob);
    }
    return &stream;
}

qxdb::DynBuffer& ScriptField::GetBuffer() {
    const qxdb::DynBuffer* const value = std::get_if<qxdb::DynBuffer>(&Value());
    if (value == nullptr)
        Refuse("buffer");
    buffer = *value;
    return buffer;
}

qxdb::Cursor& ScriptField::GetCursor() {
    const NestedCell* const value = std::get_if<NestedCell>(&Value());
    if (value == nullptr)
        Refuse("GetCursor");
    nested = qxdb::Cursor(std::make_shared<NestedCursor>(value->result));
    return nested;
}

std::string ScriptField::AsString() {
    return std::visit([](const auto& value) { return Text(value); }, Value());
}

qxdb::Decimal ScriptField::AsDecimal() {
    const Cell::Value& value = Value();
    if (const auto* const decimal = std::get_if<qxdb::Decimal>(&value))
        return *decimal;
    if (const auto* const text = std::get_if<std::string>(&value))
        return qxdb::Decimal(*text);
    if (std::holds_alternative<float>(value) || std::holds_alternative<double>(value))
        return qxdb::Decimal(Number<double>());
    return qxdb::Decimal(Number<__int64>(), 0);
}

qxdb::Timestamp ScriptField::AsTimestamp() {
    const qxdb::Timestamp* const value = std::get_if<qxdb::Timestamp>(&Value());
    if (value == nullptr)
        Refuse("timestamp");
    return *value;
}

const Cell::Value& ScriptField::Value() {
    if (row->cells == nullptr || index >= row->cells->size())
        throw MakeErrors("The script has no value for field \"" + GetName() + "\"");
    const Cell::Value& value = (*row->cells)[index].Get();
    if (const FailingCell* const failing = std::get_if<FailingCell>(&value))
        throw failing->errors;
    return value;
}

template <class T>
T ScriptField::Number() {
    return std::visit(
        [this](const auto& value) -> T {
            using V = std::decay_t<decltype(value)>;
            if constexpr (std::is_arithmetic<V>::value) {
                return static_cast<T>(value);
            } else if constexpr (std::is_same<V, qxdb::Decimal>::value) {
                return std::is_integral<T>::value ? static_cast<T>(value.AsBigInt())
                                                  : static_cast<T>(value.AsDouble());
            } else {
                Refuse("number");
            }
        },
        Value());
}

template short ScriptField::Number<short>();
template int ScriptField::Number<int>();
template long ScriptField::Number<long>();
template __int64 ScriptField::Number<__int64>();
template float ScriptField::Number<float>();
template double ScriptField::Number<double>();

}  // namespace qxtest
