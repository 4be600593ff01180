// A result of a statement, as the handles see it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "drivers/sqlite/run.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::sqlite {

class RowBinding : public qxdb::BindValueImpl {
  public:
    explicit RowBinding(std::shared_ptr<Run> source) : run(std::move(source)) {}

    qxdb::Schema GetSchema() override;
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override;

  private:
    const std::shared_ptr<Run> run;
};

class SQLiteCursor : public qxdb::CursorImpl {
  public:
    explicit SQLiteCursor(std::shared_ptr<Run> source) : run(std::move(source)) {}

    bool Fetch() override { return run->Fetch(); }
    std::shared_ptr<qxdb::BindValueImpl> Bind() override { return std::make_shared<RowBinding>(run); }
    // Rows beyond the range of the result count as the greatest number.
    unsigned int GetRowCount() override;
    // Made once for each column; SQLite knows the table itself.
    qxdb::LobLocator GetLocator(unsigned int fieldIndex, const std::string& tableName,
                                const std::string& sqlText, const std::string& whereClause,
                                bool useSpecificImpl) override;

  private:
    const std::shared_ptr<Run> run;
    std::map<unsigned int, qxdb::LobLocator> locators;
};

}  // namespace qxdrivers::sqlite
