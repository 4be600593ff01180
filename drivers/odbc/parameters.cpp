#include "drivers/odbc/parameters.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;
using qxdb::DataType;

constexpr long nullIndicator = -1;

// A large object as a parameter is just a long value.
void MakePlain(ValueType& type) {
    if (type.kind == ValueKind::CharacterLob) {
        type.kind = ValueKind::Text;
        type.bindType = Column::BindString;
    } else if (type.kind == ValueKind::BinaryLob) {
        type.kind = ValueKind::Binary;
        type.bindType = Column::BindBinary;
    }
}

class ParameterField final : public qxdb::Field, private qxdb::RawStream {
  public:
    ParameterField(std::shared_ptr<ParameterBinding> owner, std::size_t index, bool asString)
        : binding(std::move(owner)), slot(binding->Slot(index)), isString(asString) {}

    std::string GetName() override { return slot.description.record->GetName(); }
    Column::BindType GetType() override {
        return isString ? Column::BindString : slot.description.record->GetType();
    }
    DataType::Direction GetDirection() override { return slot.description.record->GetDirection(); }
    bool IsNull() override { return IsNullValue(slot.value); }
    void SetNull() override { Set(std::monostate()); }

    qxdb::RawStream* GetStream() override {
        streamed = AsString();
        streamedAt = 0;
        return this;
    }
    qxdb::DynBuffer& GetBuffer() override {
        if (!std::holds_alternative<qxdb::DynBuffer>(slot.value)) {
            Set(qxdb::DynBuffer());
        }
        return std::get<qxdb::DynBuffer>(slot.value);
    }

    std::string AsString() override { return TextOf(slot.value); }
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

    unsigned int Read(unsigned char* target, unsigned int length) override {
        const std::size_t count = std::min<std::size_t>(length, streamed.size() - streamedAt);
        std::copy_n(streamed.begin() + static_cast<std::ptrdiff_t>(streamedAt), count, target);
        streamedAt += count;
        return static_cast<unsigned int>(count);
    }

    const std::shared_ptr<ParameterBinding> binding;
    ParameterSlot& slot;
    const bool isString;
    std::string streamed;
    std::size_t streamedAt = 0;
};

}  // namespace

ParameterDescription DescriptionOf(const qxdb::Column& column) {
    auto record = std::make_shared<qxdb::ColumnRecord>();
    record->name = column.GetName();
    record->type = column.GetType();
    record->direction = column.GetDirection();
    record->nativeType = column.GetNativeType();
    record->nativeTypeName = column.GetNativeTypeName();
    record->scale = column.GetScale();
    record->lobFlags = column.GetLobFlags();
    record->dateTimeFormat = column.GetDateTimeFormat();
    ParameterDescription description;
    description.direction = record->direction;
    description.type.bindType = record->type;
    description.type.scale = record->scale;
    description.type.part = record->type == Column::BindTimestamp ? TimePart::DateTime : TimePart::None;
    description.record = std::move(record);
    return description;
}

ParameterDescription DescriptionOf(const std::string& name, DataType::Direction direction,
                                   const NativeType& native, const ServerTraits& traits) {
    ParameterDescription description;
    description.direction = direction;
    description.native = native;
    description.type = TypeOf(native, traits);
    MakePlain(description.type);
    auto record = std::make_shared<qxdb::ColumnRecord>();
    record->name = name;
    record->direction = direction;
    DescribeType(native, description.type, *record);
    description.record = std::move(record);
    return description;
}

ParameterValue ParameterSlot::Current() const {
    if (indicator && *indicator == nullIndicator) {
        return ParameterValue();
    }
    return storage ? ValueFromStorage(*storage) : value;
}

void ParameterSlot::SetOutput(ParameterValue output) {
    value = std::move(output);
    if (storage) {
        StoreValue(value, *storage);
    }
    if (indicator) {
        *indicator = IsNullValue(value) ? nullIndicator : 0;
    }
}

ParameterBinding::ParameterBinding(std::vector<ParameterDescription> descriptions) {
    slots.resize(descriptions.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
        slots[i].direction = descriptions[i].direction;
        slots[i].description = std::move(descriptions[i]);
    }
}

qxdb::Schema ParameterBinding::GetSchema() {
    qxdb::Schema::Columns columns;
    for (const ParameterSlot& slot : slots) {
        columns.push_back(slot.description.record);
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
    if (ordinal == 0 || ordinal > slots.size()) {
        ThrowRefusal("The statement has " + std::to_string(slots.size()) + " parameter(s), so there is no " +
                         std::to_string(ordinal),
                     "07009");
    }
    ParameterSlot& slot = slots[ordinal - 1];
    slot.value = std::monostate();
    slot.storage.emplace(value);
    slot.indicator = indicator;
    slot.direction = direction;
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

bool ParameterBinding::HasOutputs() const {
    return std::any_of(slots.begin(), slots.end(), [](const ParameterSlot& slot) { return slot.IsOutput(); });
}

void ParameterBinding::FillShadows() {
    for (ParameterSlot& slot : slots) {
        if (slot.description.shadowOf) {
            slot.SetOutput(slots[*slot.description.shadowOf].value);
        }
    }
}

}  // namespace qxdrivers::odbc
