#include "drivers/sqlite/cursor.h"

#include <algorithm>
#include <limits>

#include "drivers/sqlite/lob_locator.h"
#include "drivers/sqlite/result_fields.h"

namespace qxdrivers::sqlite {

qxdb::Schema RowBinding::GetSchema() {
    qxdb::Schema::Columns columns;
    for (const ResultColumn& column : run->Columns()) {
        columns.push_back(column.record);
    }
    return qxdb::Schema(std::move(columns));
}

std::vector<std::unique_ptr<qxdb::Field>> RowBinding::MakeFields(bool bindAsStrings,
                                                                 const qxdb::ExclusionIndex& exclusion) {
    std::vector<std::unique_ptr<qxdb::Field>> fields;
    for (std::size_t i = 0; i < run->Columns().size(); ++i) {
        if (exclusion.count(static_cast<unsigned int>(i)) == 0) {
            fields.push_back(MakeResultField(run, static_cast<int>(i), bindAsStrings));
        }
    }
    return fields;
}

unsigned int SQLiteCursor::GetRowCount() {
    constexpr __int64 limit = std::numeric_limits<unsigned int>::max();
    return static_cast<unsigned int>(std::min(run->GetRowCount(), limit));
}

qxdb::LobLocator SQLiteCursor::GetLocator(unsigned int fieldIndex, const std::string&, const std::string&,
                                          const std::string&, bool) {
    const auto known = locators.find(fieldIndex);
    if (known != locators.end()) {
        return known->second;
    }
    return locators.emplace(fieldIndex, MakeLobLocator(*run, fieldIndex)).first->second;
}

}  // namespace qxdrivers::sqlite
