// qxsql: the command line over the library.

#include "drivers/sqlite/sqlite_driver.h"
#include "scriptparser/script_parser_component.h"
#include "tools/qxsql/program.h"

int main(int argc, char** argv) {
    qxdrivers::RegisterSQLite();
    qxscriptparser::RegisterScriptParser();
    qxsql::EndProcess(qxsql::Main(argc, argv));
}
