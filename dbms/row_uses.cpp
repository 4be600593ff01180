#include "dbms/row_uses.h"

#include "dbms/db2_handler.h"
#include "dbms/db2os390_handler.h"
#include "dbms/option_table.h"
#include "dbms/oracle_handler.h"
#include "dbms/sqlserver_handler.h"
#include "dbms/sybase_handler.h"

namespace qxdbsqlengine {

std::vector<RowUse> GetRowUses() {
    std::vector<RowUse> uses;
    for (std::size_t i = 0; i < GetOptionRowCount(); ++i) {
        // Oracle's options ask for queries, which take no value.
        const OptionRow& entry = GetOptionRows()[i];
        uses.push_back({entry.row, entry.server == qxdb::DBTYPE_ORACLE ? 0 : 1});
    }
    for (const std::vector<RowUse>& ofFamily :
         {OracleHandler::GetRowUses(), DB2Handler::GetRowUses(), DB2OS390Handler::GetRowUses(),
          SQLServerHandler::GetRowUses(), SybaseHandler::GetRowUses()})
        uses.insert(uses.end(), ofFamily.begin(), ofFamily.end());
    return uses;
}

}  // namespace qxdbsqlengine
