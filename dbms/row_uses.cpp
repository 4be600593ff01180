#include "dbms/row_uses.h"

#include "dbms/option_table.h"
#include "dbms/oracle_handler.h"

namespace qxdbsqlengine {

std::vector<RowUse> GetRowUses() {
    std::vector<RowUse> uses;
    for (std::size_t i = 0; i < GetOptionRowCount(); ++i) {
        // Oracle's options ask for queries, which take no value.
        const OptionRow& entry = GetOptionRows()[i];
        uses.push_back({entry.row, entry.server == qxdb::DBTYPE_ORACLE ? 0 : 1});
    }
    for (const RowUse& use : OracleHandler::GetRowUses())
        uses.push_back(use);
    return uses;
}

}  // namespace qxdbsqlengine
