#include "tools/qxsql/help_text.h"

namespace qxsql {

const char* HelpDescription() {
    return "qxsql runs SQL and scripts over a connection and shows, sorts or exports the results.\n"
           "Results of any size stay usable in little memory: rows go into pages that spill into a temporary "
           "file.\n";
}

const char* HelpFooter() {
    return R"(CONNECTION is a driver's name, a colon and its data source: sqlite:FILE or sqlite::memory:, odbc:DSN
for a data source of ODBC, odbc:Driver=NAME;KEYWORD=VALUE;... for one of its drivers. --drivers lists
what is there. The password is the value of QXSQL_PASSWORD; where that is not set, --user NAME asks
for it on the terminal.

SQL is run as one text. What comes from -f FILE or from standard input is a script: it is split
into its statements as the server's own client would do, and they run one after the other, the
first while the rest is still being read. An item that fails is reported with file and line, and
the next one runs, until there were --max-errors errors. A summary comes at the end.

Parameters: --param 5 is the next ? of the statement, --param name=5 the parameter of that name
(without its : @ or $). Either all have names or none. A value that contains "=" behind what
could be a name is written with a "=" in front: --param =a=b. Values are texts unless the type
stands in front: --param-type int --param 5. The types null and default go with an empty value:
--param-type null --param name=. With --param, -f FILE is one statement and no script.

Calls: --procedure and --function call what the server has stored under NAME. --param gives values
to its inputs and to those that also come back, --param-out names outputs, which need not be given.
What comes back is shown behind the results.

Results go to standard output: an aligned table on a terminal (--aligned: always), tab-delimited text
otherwise; several results one after the other with an empty line between them. -o FILE exports them
to FILE instead. Row counts, server messages, errors, progress and timing go to standard error.

Formats, for -o by the extension, for standard output and other files by --format:
  tab, comma, pipe  .txt and all others, .csv, .psv  delimited text, quoted by need (tab: never)
  delimited         --delimiter                      delimited by any character, never quoted
  html              .html, .htm                      a page, one table for each result
  excel             .xls                             the same with the styles of a spreadsheet
  excelxml          only by its name                 spreadsheet XML, all results on one sheet
  xml               .xml                             keeps types and NULLs; --read reads it back
  insert            .sql                             INSERT statements, see --table and --dialect
Several results are one document in html, excel, excelxml and xml. --columns, --rows, --sort and
--result choose from all of them.

Large objects: --lob-export 3:picture FILE writes the one in row 3 (from 0, as sorted) and column
picture of the SELECT to FILE, --lob-import 3:picture FILE makes FILE its value. The result is not
shown. Select the primary key along: by it the row is found again.

Exit codes:
  0    done
  1    the server reported an error, or an item of the script failed
  2    usage, or the server does not have what is asked of it
  3    no connection
  4    a file could not be read or written, or a script could not be read to its end
  5    ended by --timeout; what had arrived is shown
  6    the server did not answer a cancel within 15 seconds; the connection was given up
  130  ended by Ctrl-C; what had arrived is shown. A second Ctrl-C ends the program at once

Examples:
  qxsql sqlite:shop.db "SELECT * FROM customer"
  qxsql --create sqlite:new.db -f schema.sql
  qxsql sqlite:shop.db --param DE "SELECT * FROM customer WHERE country = ?"
  qxsql sqlite:shop.db -o out.csv --sort name,2:desc "SELECT * FROM customer"
  qxsql sqlite:shop.db -o out.html --rows 0-99 "SELECT * FROM customer"
  qxsql sqlite:shop.db --format insert --dialect oracle --table crm.customer "SELECT * FROM customer"
  qxsql odbc:shop --user me --procedure raise_prices --param percent=5 --param-out changed
  qxsql odbc:shop --user me --explain "SELECT * FROM customer"
  qxsql sqlite:shop.db --lob-export 0:picture cup.jpg "SELECT sku, picture FROM product"
  qxsql --split -f install.sql --dialect oracle
  qxsql --read out.csv --sort 0 -o out.xml
)";
}

}  // namespace qxsql
