// A result set as an aligned table on the screen.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "storage/data_storage.h"

namespace qxsql {

// Prints one result set of a store; rows may still arrive while it prints. One thread, which owns the handle.
class TableView {
  public:
    // `wanted`: numbers from 0, in the order to show; those that the result does not have are left out, empty
    // means all. `width`: columns of the screen.
    TableView(qxdbsqlengine::DataStorage& from, int rs, const std::vector<int>& wanted, bool withHeaders,
              int width);

    // Rows that decide how wide the columns become.
    static constexpr int SampleRows = 1000;

    // Prints the headings (once; the widths come from the rows that are there, at most SampleRows) and the
    // rows from the last one printed up to, not including, `end`.
    void Print(std::ostream& out, int end);
    int PrintedRows() const { return printed; }

  private:
    struct ShownColumn {
        int number;
        std::string label;
        bool right;
        int width;
    };

    void Measure(int rows);
    void FitToScreen();
    void PrintHeadings(std::ostream& out) const;
    void AppendCell(std::string& line, const ShownColumn& column, std::string_view text, bool last) const;

    qxdbsqlengine::DataStorage& store;
    const int resultSet;
    const bool headers;
    const int screenWidth;
    std::vector<ShownColumn> columns;
    std::vector<int> numbers;
    bool measured = false;
    int printed = 0;
};

// The columns of `wanted` that a result of `count` columns has, in order; all for an empty list.
std::vector<int> SelectColumns(const std::vector<int>& wanted, int count);

}  // namespace qxsql
