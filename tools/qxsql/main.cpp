// qxsql: the command line over the library.

#include "drivers/odbc/odbc_driver.h"
#include "drivers/sqlite/sqlite_driver.h"
#include "scriptparser/script_parser_component.h"
#include "tools/qxsql/program.h"

int main(int argc, char** argv) {
    qxdrivers::RegisterSQLite();
    qxdrivers::RegisterODBC();
    qxscriptparser::RegisterScriptParser();
    qxsql::EndProcess(qxsql::Main(argc, argv));
}
