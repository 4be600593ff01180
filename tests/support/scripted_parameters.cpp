#include "support/scripted_parameters.h"

#include <locale>
#include <sstream>
#include <type_traits>
#include <utility>

namespace qxtest {

namespace {

template <class T>
std::string Streamed(const char* kind, const T& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << kind << " " << value;
    return stream.str();
}

std::string Shown(const NestedCell&) {
    return "a nested cursor";
}
std::string Shown(const NullCell&) {
    return "null";
}
std::string Shown(const std::string& value) {
    return "string '" + value + "'";
}
std::string Shown(short value) {
    return Streamed("short", value);
}
std::string Shown(int value) {
    return Streamed("int", value);
}
std::string Shown(long value) {
    return Streamed("long", value);
}
std::string Shown(__int64 value) {
    return Streamed("int64", value);
}
std::string Shown(float value) {
    return Streamed("float", value);
}
std::string Shown(double value) {
    return Streamed("double", value);
}
std::string Shown(const qxdb::Decimal& value) {
    return "decimal " + value.AsString(false, -1);
}
std::string Shown(const qxdb::BufferBase& value) {
    return Streamed("bytes", value);
}
std::string Shown(const qxdb::Timestamp& value) {
    return "timestamp " + value.AsString();
}
std::string Shown(const LobCell&) {
    return "lob";
}
std::string Shown(const FailingCell&) {
    return "failure";
}

std::string ShownStorage(qxdb::BoundStorage storage) {
    return std::visit(
        [](auto& value) {
            using V = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<V, qxdb::BasicFixedString<char>>) {
                return Shown(value.Text());
            } else if constexpr (std::is_same_v<V, qxdb::FixedDecimal>) {
                return Shown(value.Value());
            } else {
                return Shown(*value);
            }
        },
        storage);
}

// Only where the caller limits a text.
std::string ShownCapacity(const qxdb::BoundStorage& storage) {
    const auto* const text = std::get_if<qxdb::BasicFixedString<char>>(&storage);
    return text == nullptr || text->Capacity() < 0 ? "" : " of at most " + std::to_string(text->Capacity());
}

// Writes an output value of the very type of the storage.
void Store(qxdb::BoundStorage storage, const Cell::Value& cell) {
    std::visit(
        [&cell](auto& target) {
            using V = std::decay_t<decltype(target)>;
            if constexpr (std::is_same_v<V, qxdb::BasicFixedString<char>>) {
                target.Text() = std::get<std::string>(cell);
            } else if constexpr (std::is_same_v<V, qxdb::FixedDecimal>) {
                target.Value() = std::get<qxdb::Decimal>(cell);
            } else if constexpr (std::is_same_v<V, qxdb::BufferBase*>) {
                target->Assign(std::get<qxdb::DynBuffer>(cell));
            } else {
                *target = std::get<std::remove_pointer_t<V>>(cell);
            }
        },
        storage);
}

const char* Name(qxdb::DataType::Direction direction) {
    switch (direction) {
        case qxdb::DataType::DirectionIn:
            return "in ";
        case qxdb::DataType::DirectionOut:
            return "out ";
        default:
            return "inout ";
    }
}

class ScriptParameterField : public ScriptField {
  public:
    ScriptParameterField(std::shared_ptr<ScriptParameters> owner,
                         std::shared_ptr<const qxdb::Column> parameter, std::shared_ptr<CurrentRow> outputs,
                         unsigned int position, bool bindAsString)
        : ScriptField(std::move(parameter), std::move(outputs), position, bindAsString),
          binding(std::move(owner)) {}

    void SetNull() override { binding->Set(Index(), NullCell()); }
    void SetBigInt(__int64 value) override { Set(value); }
    void SetTimestamp(const qxdb::Timestamp& value) override { Set(value); }
    void SetDecimal(const qxdb::Decimal& value) override { Set(value); }
    void SetDouble(double value) override { Set(value); }
    void SetFloat(float value) override { Set(value); }
    void SetLong(long value) override { Set(value); }
    void SetInt(int value) override { Set(value); }
    void SetShort(short value) override { Set(value); }
    void SetString(const std::string& value) override { Set(value); }

    qxdb::DynBuffer& GetBuffer() override {
        // A null output has a buffer as well, an empty one.
        return binding->WasRun() && !IsNull() ? ScriptField::GetBuffer() : binding->Buffer(Index());
    }
    qxdb::Cursor& GetCursor() override {
        cursor = binding->MakeCursor(Index());
        return cursor;
    }

  private:
    // By its exact type: __int64 and long are not the same everywhere.
    template <class T>
    void Set(const T& value) {
        binding->Set(Index(), Cell::Value(std::in_place_type<T>, value));
    }

    const std::shared_ptr<ScriptParameters> binding;
    qxdb::Cursor cursor;
};

}  // namespace

ScriptParameters::ScriptParameters(Columns described, LogLine writeLog)
    : columns(std::move(described)),
      log(std::move(writeLog)),
      slots(columns.size()),
      row(std::make_shared<CurrentRow>()) {}

void ScriptParameters::Bind(qxdb::DataType::Direction direction, unsigned int ordinal,
                            const qxdb::BoundStorage& value, long* indicator) {
    log("bind " + std::to_string(ordinal) + " " + Name(direction) + ShownStorage(value) +
        ShownCapacity(value) + (indicator == nullptr ? "" : " with indicator"));
    if (ordinal == 0 || ordinal > slots.size())
        throw MakeErrors("There is no parameter " + std::to_string(ordinal));
    slots[ordinal - 1].storage.emplace(value);
    slots[ordinal - 1].direction = direction;
    nextBind = ordinal + 1;
}

std::vector<std::unique_ptr<qxdb::Field>> ScriptParameters::MakeFields(
    bool bindAsStrings, const qxdb::ExclusionIndex& exclusion) {
    std::vector<std::unique_ptr<qxdb::Field>> fields;
    for (unsigned int i = 0; i < columns.size(); ++i) {
        if (exclusion.count(i) == 0) {
            fields.push_back(std::make_unique<ScriptParameterField>(shared_from_this(), columns[i], row, i,
                                                                    bindAsStrings));
        }
    }
    return fields;
}

std::vector<std::string> ScriptParameters::Describe() const {
    std::vector<std::string> lines;
    for (const ParameterSlot& slot : slots) {
        if (slot.storage)
            lines.push_back(Name(slot.direction) + ShownStorage(*slot.storage));
        else if (slot.value)
            lines.push_back(std::visit([](const auto& value) { return Shown(value); }, *slot.value));
        else
            lines.push_back("nothing");
    }
    return lines;
}

void ScriptParameters::Finish(const Step& step, const OpenCursor& openCursor) {
    outputs.clear();
    for (unsigned int i = 0; i < columns.size(); ++i) {
        const auto found = step.outputs.find(i);
        if (found == step.outputs.end()) {
            outputs.push_back(
                FailingCell{MakeErrors("The script has no output for \"" + columns[i]->GetName() + "\"")});
            continue;
        }
        outputs.push_back(found->second);
        if (slots[i].storage && slots[i].direction != qxdb::DataType::DirectionIn)
            Store(*slots[i].storage, found->second.Get());
    }
    cursors = step.outputCursors;
    open = openCursor;
    row->cells = &outputs;
    ++row->number;
}

void ScriptParameters::Set(unsigned int index, Cell::Value value) {
    log("set " + std::to_string(index) + " " +
        std::visit([](const auto& shown) { return Shown(shown); }, value));
    slots[index].value = std::move(value);
}

qxdb::DynBuffer& ScriptParameters::Buffer(unsigned int index) {
    std::optional<Cell::Value>& value = slots[index].value;
    if (!value || !std::holds_alternative<qxdb::DynBuffer>(*value))
        value.emplace(std::in_place_type<qxdb::DynBuffer>);
    return std::get<qxdb::DynBuffer>(*value);
}

qxdb::Cursor ScriptParameters::MakeCursor(unsigned int index) const {
    const auto found = cursors.find(index);
    if (found == cursors.end())
        throw MakeErrors("The script has no cursor for \"" + columns[index]->GetName() + "\"");
    return qxdb::Cursor(open(found->second));
}

}  // namespace qxtest
