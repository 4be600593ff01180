// Errors and messages of the server for the user.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "platform/qxsplt/errors.h"
#include "storage/data_storage.h"

namespace qxsql {

// False for what a server only lets know: a record of severity 0 or 1 that has a code or a state. Texts of
// the library itself have neither, and are failures.
bool IsFailure(const ErrorRecord& record);

// "Error 1 [42000]", or "Message ..." for what is no failure. Parts that the server did not tell are left
// out.
std::string ErrorTitle(const ErrorRecord& record);

// "Error 1 [42000] at line 3, position 14: near "FORM": syntax error".
std::string ErrorText(const ErrorRecord& record);

// Calls `function` with every record, from the first to the last, and leaves the list at its start.
void ForEachError(const Errors& errors, const std::function<void(const ErrorRecord&)>& function);

// Prints every record to standard error.
void PrintErrors(const Errors& errors);

// Message result sets hold server messages, row counts, and once more the texts of errors that were already
// reported as errors. Reads them as they grow, without those error texts. Main thread only.
class MessageReader {
  public:
    // An error was printed; its lines in message result sets are skipped, each as often as it was reported.
    void ErrorWasPrinted(const Errors& errors);
    // Errors that come later are meant from now on.
    void ForgetErrors() { errorLines.clear(); }
    // A new message result set.
    void Begin() { nextRow = 0; }
    // The lines that were not read yet up to row `end`.
    void ReadTo(qxdbsqlengine::DataStorage& store, int resultSet, int end,
                const std::function<void(const std::string&)>& line);

  private:
    std::multiset<std::string> errorLines;
    int nextRow = 0;
};

}  // namespace qxsql
