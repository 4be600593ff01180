#include "tools/qxsql/help_text.h"

namespace qxsql {

const char* HelpDescription() {
    return "qxsql runs SQL and scripts over a connection and shows, sorts or exports the results.\n"
           "Results of any size stay usable in little memory: rows go into pages that spill into a temporary "
           "file.\n";
}

const char* HelpFooter() {
    return "CONNECTION is a driver's name, a colon and its data source: sqlite:FILE or sqlite::memory:\n"
           "\n"
           "SQL is run as one text. What comes from -f FILE or from standard input is a script: it is split\n"
           "into its statements as the server's own client would do, and they run one after the other, the\n"
           "first while the rest is still being read. An item that fails is reported with file and line, "
           "and\n"
           "the next one runs, until there were --max-errors errors. A summary comes at the end.\n"
           "\n"
           "Parameters: --param 5 is the next ? of the statement, --param name=5 the parameter of that name\n"
           "(without its : @ or $). Either all have names or none. A value that contains \"=\" behind what\n"
           "could be a name is written with a \"=\" in front: --param =a=b. Values are texts unless the "
           "type\n"
           "stands in front: --param-type int --param 5. The types null and default go with an empty value:\n"
           "--param-type null --param name=. With --param, -f FILE is one statement and no script.\n"
           "\n"
           "Results go to standard output: an aligned table on a terminal, tab-delimited text otherwise;\n"
           "several results one after the other with an empty line between them, also in the file of -o.\n"
           "Row counts, server messages, errors, progress and timing go to standard error.\n"
           "\n"
           "Exit codes:\n"
           "  0    done\n"
           "  1    the server reported an error, or an item of the script failed\n"
           "  2    usage\n"
           "  3    no connection\n"
           "  4    a file could not be read or written, or a script could not be read to its end\n"
           "  5    ended by --timeout; what had arrived is shown\n"
           "  6    the server did not answer a cancel within 15 seconds; the connection was given up\n"
           "  130  ended by Ctrl-C; what had arrived is shown. A second Ctrl-C ends the program at once\n"
           "\n"
           "Examples:\n"
           "  qxsql sqlite:shop.db \"SELECT * FROM customer\"\n"
           "  qxsql --create sqlite:new.db -f schema.sql\n"
           "  qxsql sqlite:shop.db --param DE \"SELECT * FROM customer WHERE country = ?\"\n"
           "  qxsql sqlite:shop.db -o out.csv --sort name,2:desc \"SELECT * FROM customer\"\n"
           "  qxsql --split -f install.sql --dialect oracle\n"
           "  qxsql --read out.csv --sort 0\n";
}

}  // namespace qxsql
