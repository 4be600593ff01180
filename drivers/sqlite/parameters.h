// The parameters of a prepared statement.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/qxdb/driver.h"

struct sqlite3_stmt;

namespace qxdrivers::sqlite {

// What a setter gave; the first alternative is NULL.
using ParameterValue = std::variant<std::monostate, __int64, double, std::string, qxdb::Decimal,
                                    qxdb::Timestamp, qxdb::DynBuffer>;

// One position. A value set last replaces storage that was bound before, and the reverse.
struct ParameterSlot {
    std::shared_ptr<const qxdb::Column> column;
    ParameterValue value;
    std::optional<qxdb::BoundStorage> storage;  // the caller's
    long* indicator = nullptr;                  // the caller's; -1 there means NULL
};

// Shared by the statement, which sends the values, and the fields, which hold none themselves.
//
// One position for each parameter that SQLite counts: ?N has the name N, and :n, @n and $n are three
// parameters of the name n, while :n twice is one. A position that nobody sets is NULL: SQLite knows no
// default of a parameter.
class ParameterBinding : public qxdb::BindValueImpl, public std::enable_shared_from_this<ParameterBinding> {
  public:
    // Without a statement: no parameters. `hint` describes the first of them, as far as it goes.
    ParameterBinding(sqlite3_stmt* statement, const qxdb::Schema& hint);

    qxdb::Schema GetSchema() override;
    unsigned int GetNextBind() override;
    void Bind(qxdb::DataType::Direction direction, unsigned int ordinal, const qxdb::BoundStorage& value,
              long* indicator) override;
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override;

    ParameterSlot& Slot(std::size_t index) { return slots[index]; }
    // Gives all values to the statement, which must not be running. Texts and bytes are copied.
    void Send(sqlite3_stmt* statement) const;

  private:
    std::vector<ParameterSlot> slots;  // fixed size
};

}  // namespace qxdrivers::sqlite
