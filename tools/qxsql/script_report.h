// What came of the items of a script.
#pragma once

#include <chrono>
#include <string>

#include "platform/qxsplt/error_record.h"

namespace qxsql {

// Counts items and rows, and knows the place of the item that runs. Main thread.
class ScriptReport {
  public:
    // `scriptName` for messages.
    explicit ScriptReport(std::string scriptName);

    // `line` of the script, from 1.
    void ItemBegins(int line);
    void ItemFailed() { failedNow = true; }
    // `hadWork`: something was sent to the server, or said about the item. False for an item that is skipped.
    bool ItemEnds(bool hadWork);
    void RowsFetched(int count) { fetched += count; }
    // True for the lines in which the engine tells how an item went: how many rows were affected, which are
    // added up, and that there was no result.
    bool TakesLine(const std::string& line);

    // Where the item begins: "script.sql:12".
    std::string Place() const;
    // An error of the item: "script.sql:14: Error 1 [42000] at position 20: ...". The line is the item's, or
    // the one within it that the server names; the position counts from the beginning of the item.
    std::string ErrorLine(const ErrorRecord& record) const;

    long long Items() const { return run + skipped; }
    long long Failed() const { return failed; }
    // "Items run: 12, failed: 1, skipped: 3. Rows fetched: 40, affected: 7. 0.125 s"
    std::string Summary(std::chrono::duration<double> time) const;

  private:
    const std::string name;
    int itemLine = 0;
    bool failedNow = false;
    long long run = 0;
    long long failed = 0;
    long long skipped = 0;
    long long fetched = 0;
    long long affected = 0;
    const std::string affectedText;  // behind the number
    const std::string noResultText;
};

}  // namespace qxsql
