// A result of a statement, as the handles see it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "drivers/odbc/result_set.h"
#include "platform/int64.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::odbc {

// The binding of a result's columns; without a result there are none.
class RowBinding final : public qxdb::BindValueImpl {
  public:
    explicit RowBinding(std::shared_ptr<ResultSet> source) : result(std::move(source)) {}

    qxdb::Schema GetSchema() override;
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override;

  private:
    const std::shared_ptr<ResultSet> result;
};

class OdbcCursor final : public qxdb::CursorImpl {
  public:
    // Either a result with columns or a count of rows.
    OdbcCursor(std::shared_ptr<ResultSet> source, std::optional<__int64> count)
        : result(std::move(source)), rowCount(count) {}

    bool Fetch() override { return result && result->Fetch(); }
    std::shared_ptr<qxdb::BindValueImpl> Bind() override { return std::make_shared<RowBinding>(result); }
    // Rows beyond the range of the result count as the greatest number.
    unsigned int GetRowCount() override;
    qxdb::LobLocator GetLocator(unsigned int fieldIndex, const std::string& tableName,
                                const std::string& sqlText, const std::string& whereClause,
                                bool useSpecificImpl) override;

  private:
    const std::shared_ptr<ResultSet> result;
    const std::optional<__int64> rowCount;
    // One locator for each column: they are all alike but for the row.
    std::map<unsigned int, qxdb::LobLocator> locators;
};

}  // namespace qxdrivers::odbc
