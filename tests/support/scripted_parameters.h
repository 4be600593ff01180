// The parameters of a statement of the scripted server. Only for the sources of this folder.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/scripted_fields.h"

namespace qxtest {

// What one parameter holds before the statement runs.
struct ParameterSlot {
    std::optional<Cell::Value> value;  // nothing: not bound
    std::optional<qxdb::BoundStorage> storage;
    qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn;
};

// The binding of a prepared statement. Fields write here, and read what the script gives back once it ran.
class ScriptParameters : public qxdb::BindValueImpl, public std::enable_shared_from_this<ScriptParameters> {
  public:
    using Columns = std::vector<std::shared_ptr<const qxdb::Column>>;
    using LogLine = std::function<void(const std::string&)>;
    using OpenCursor = std::function<std::shared_ptr<qxdb::CursorImpl>(const Result&)>;

    ScriptParameters(Columns described, LogLine writeLog);

    qxdb::Schema GetSchema() override { return qxdb::Schema(columns); }
    unsigned int GetNextBind() override { return nextBind; }
    void Bind(qxdb::DataType::Direction direction, unsigned int ordinal, const qxdb::BoundStorage& value,
              long* indicator) override;
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override;

    // One line for each parameter: "int 5", "null", "nothing", and for storage "in int 5" or "out int 0".
    std::vector<std::string> Describe() const;
    // The statement ran: output values go into the storage and can be read from the fields.
    void Finish(const Step& step, const OpenCursor& openCursor);

    // For the fields.
    void Set(unsigned int index, Cell::Value value);
    qxdb::DynBuffer& Buffer(unsigned int index);
    bool WasRun() const { return row->cells != nullptr; }
    qxdb::Cursor MakeCursor(unsigned int index) const;

  private:
    const Columns columns;
    const LogLine log;
    std::vector<ParameterSlot> slots;
    unsigned int nextBind = 1;
    Row outputs;
    std::shared_ptr<CurrentRow> row;
    std::map<unsigned int, Result> cursors;
    OpenCursor open;
};

}  // namespace qxtest
