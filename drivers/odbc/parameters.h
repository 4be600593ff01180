// The parameters of a prepared statement, as the caller sees them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "drivers/odbc/column_types.h"
#include "drivers/odbc/parameter_value.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::odbc {

// A parameter as the driver, the catalog or the caller describes it.
struct ParameterDescription {
    std::shared_ptr<const qxdb::ColumnRecord> record;  // what the caller sees
    qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn;
    NativeType native;  // sqlType SQL_UNKNOWN_TYPE: not known
    ValueType type;
    bool isReturnValue = false;
    std::optional<std::size_t> shadowOf;  // shows the output of another position, and is none itself
};

// From a schema of the caller's.
ParameterDescription DescriptionOf(const qxdb::Column& column);
// From what a driver says.
ParameterDescription DescriptionOf(const std::string& name, qxdb::DataType::Direction direction,
                                   const NativeType& native, const ServerTraits& traits);

// One position. A value set last replaces storage that was bound before, and the reverse.
struct ParameterSlot {
    ParameterDescription description;
    ParameterValue value;
    std::optional<qxdb::BoundStorage> storage;  // the caller's
    qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn;
    long* indicator = nullptr;  // the caller's; -1 there means NULL

    ParameterValue Current() const;
    // Takes an output over, into the caller's storage too.
    void SetOutput(ParameterValue output);
    bool IsShadow() const { return description.shadowOf.has_value(); }
    bool IsInput() const { return direction != qxdb::DataType::DirectionOut && !IsShadow(); }
    bool IsOutput() const { return direction != qxdb::DataType::DirectionIn && !IsShadow(); }
};

// Shared by the statement, which sends the values, and the fields, which hold none themselves.
class ParameterBinding : public qxdb::BindValueImpl, public std::enable_shared_from_this<ParameterBinding> {
  public:
    explicit ParameterBinding(std::vector<ParameterDescription> descriptions);

    qxdb::Schema GetSchema() override;
    unsigned int GetNextBind() override;
    void Bind(qxdb::DataType::Direction direction, unsigned int ordinal, const qxdb::BoundStorage& value,
              long* indicator) override;
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override;

    std::size_t Count() const { return slots.size(); }
    ParameterSlot& Slot(std::size_t index) { return slots[index]; }
    bool HasOutputs() const;
    // Gives the outputs to the positions that only show them.
    void FillShadows();

  private:
    std::vector<ParameterSlot> slots;  // fixed size
};

}  // namespace qxdrivers::odbc
