// Errors and messages for the user, on standard error.
#pragma once

#include <set>
#include <string>

#include "platform/qxsplt/errors.h"
#include "storage/data_storage.h"

namespace qxsql {

// "Error 1 [42000] at line 3, position 14: near "FORM": syntax error". Parts that the server did not tell are
// left out.
std::string ErrorText(const ErrorRecord& record);

// Prints every record, reading the list from its start.
void PrintErrors(const Errors& errors);

// Message result sets hold server messages, row counts, and once more the texts of errors that were already
// reported as errors. Prints the lines of a message result set, without those error texts. Main thread only.
class MessagePrinter {
  public:
    // An error was printed; its lines in message result sets are skipped, each as often as it was reported.
    void ErrorWasPrinted(const Errors& errors);
    // `quiet`: only remembers what was seen.
    void PrintResultSet(qxdbsqlengine::DataStorage& store, int resultSet, bool quiet);

  private:
    std::multiset<std::string> errorLines;
};

}  // namespace qxsql
