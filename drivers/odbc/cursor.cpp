#include "drivers/odbc/cursor.h"

#include <algorithm>
#include <limits>

#include "drivers/odbc/lob_locator.h"
#include "drivers/odbc/result_fields.h"

namespace qxdrivers::odbc {

qxdb::Schema RowBinding::GetSchema() {
    qxdb::Schema::Columns columns;
    if (result) {
        for (const ResultColumn& column : result->Columns()) {
            columns.push_back(column.record);
        }
    }
    return qxdb::Schema(std::move(columns));
}

std::vector<std::unique_ptr<qxdb::Field>> RowBinding::MakeFields(bool bindAsStrings,
                                                                 const qxdb::ExclusionIndex& exclusion) {
    std::vector<std::unique_ptr<qxdb::Field>> fields;
    const std::size_t count = result ? result->Columns().size() : 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (exclusion.count(static_cast<unsigned int>(i)) > 0) {
            continue;
        }
        if (bindAsStrings) {
            fields.push_back(MakeTextField(result, i));
        } else {
            fields.push_back(MakeResultField(result, i));
        }
    }
    return fields;
}

unsigned int OdbcCursor::GetRowCount() {
    if (!rowCount) {
        ThrowRefusal("A result with columns has no row count", "HY010");
    }
    return static_cast<unsigned int>(std::min<__int64>(*rowCount, std::numeric_limits<unsigned int>::max()));
}

qxdb::LobLocator OdbcCursor::GetLocator(unsigned int fieldIndex, const std::string& tableName,
                                        const std::string&, const std::string&, bool) {
    const auto known = locators.find(fieldIndex);
    if (known != locators.end()) {
        return known->second;
    }
    return locators.emplace(fieldIndex, MakeLobLocator(result, fieldIndex, tableName)).first->second;
}

}  // namespace qxdrivers::odbc
