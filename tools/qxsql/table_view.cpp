#include "tools/qxsql/table_view.h"

#include <algorithm>
#include <iterator>
#include <ostream>

#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "tools/qxsql/terminal.h"

namespace qxsql {

using qxdbsqlengine::CellFormat;

namespace {

constexpr int Gap = 2;           // blanks between two columns
constexpr int NarrowestCut = 8;  // columns are not cut below this while others are wider

// Hands each cell of a row to a function object.
template <class Function>
class CellCall : public qxdbsqlengine::CellSink {
  public:
    explicit CellCall(Function call) : function(std::move(call)) {}
    void OnCell(int position, bool, std::string_view text) override { function(position, text); }

  private:
    Function function;
};

}  // namespace

std::vector<int> SelectColumns(const std::vector<int>& wanted, int count) {
    std::vector<int> selected;
    if (wanted.empty()) {
        for (int i = 0; i < count; ++i)
            selected.push_back(i);
        return selected;
    }
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(selected),
                 [count](int column) { return column >= 0 && column < count; });
    return selected;
}

TableView::TableView(qxdbsqlengine::DataStorage& from, int rs, const std::vector<int>& wanted,
                     bool withHeaders, int width)
    : store(from), resultSet(rs), headers(withHeaders), screenWidth(width) {
    numbers = SelectColumns(wanted, store.GetNumberOfColumns(resultSet));
    for (const int number : numbers) {
        const bool right = store.GetAlignHint(resultSet, number) == qxdbsqlengine::AlignRight;
        const std::string label = store.GetColumnLabel(resultSet, number);
        columns.push_back({number, label, right, headers ? std::max(1, DisplayWidth(label)) : 1});
    }
}

void TableView::Measure(int rows) {
    CellCall sink([this](int position, std::string_view text) {
        int& width = columns[position].width;
        // A text is never wider than its bytes; what is wider than the screen is cut anyway.
        if (static_cast<int>(std::min<std::size_t>(text.size(), 1U << 20U)) > width)
            width = std::max(width, DisplayWidth(text.substr(0, 4 * static_cast<std::size_t>(screenWidth))));
    });
    for (int row = 0; row < std::min(rows, SampleRows); ++row) {
        store.VisitRow(resultSet, row, numbers.data(), static_cast<int>(numbers.size()),
                       CellFormat::Classic(), sink);
    }
    FitToScreen();
    measured = true;
}

void TableView::FitToScreen() {
    const auto total = [this] {
        int sum = Gap * (static_cast<int>(columns.size()) - 1);
        for (const ShownColumn& column : columns)
            sum += column.width;
        return sum;
    };
    // Take from the widest columns until the table fits or nothing sensible is left to take.
    for (int excess = total() - screenWidth; excess > 0; excess = total() - screenWidth) {
        const auto widest =
            std::max_element(columns.begin(), columns.end(), [](const ShownColumn& a, const ShownColumn& b) {
                return (a.right ? 0 : a.width) < (b.right ? 0 : b.width);
            });
        if (widest == columns.end() || widest->right)
            return;
        int second = NarrowestCut;
        for (auto column = columns.begin(); column != columns.end(); ++column) {
            if (column != widest && !column->right)
                second = std::max(second, column->width);
        }
        const int target = std::max(std::min(second, widest->width - 1), widest->width - excess);
        if (target < NarrowestCut)
            return;
        widest->width = target;
    }
}

void TableView::AppendCell(std::string& line, const ShownColumn& column, std::string_view text,
                           bool last) const {
    if (!column.right) {
        const int taken = AppendFitted(line, text, column.width);
        if (!last)
            line.append(static_cast<std::size_t>(column.width - taken), ' ');
        return;
    }
    // Part of a number would be another number: one that is wider than the sample said stands whole.
    const int width = DisplayWidth(text);
    if (width < column.width)
        line.append(static_cast<std::size_t>(column.width - width), ' ');
    AppendFitted(line, text, width);
}

void TableView::PrintHeadings(std::ostream& out) const {
    std::string labels;
    std::string rule;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i > 0) {
            labels.append(Gap, ' ');
            rule.append(Gap, ' ');
        }
        AppendCell(labels, columns[i], columns[i].label, i + 1 == columns.size());
        rule.append(static_cast<std::size_t>(columns[i].width), '-');
    }
    std::string fitted;
    AppendFitted(fitted, labels, screenWidth);
    out << fitted << '\n' << rule.substr(0, static_cast<std::size_t>(screenWidth)) << '\n';
}

void TableView::Print(std::ostream& out, int end) {
    if (!measured) {
        Measure(end);
        if (headers && !columns.empty())
            PrintHeadings(out);
    }
    std::string line;
    std::string fitted;
    CellCall sink([&](int position, std::string_view text) {
        if (position > 0)
            line.append(Gap, ' ');
        AppendCell(line, columns[position], text, position + 1 == static_cast<int>(columns.size()));
    });
    for (; printed < end; ++printed) {
        line.clear();
        store.VisitRow(resultSet, printed, numbers.data(), static_cast<int>(numbers.size()),
                       CellFormat::Classic(), sink);
        // A text that is no wider in bytes than the screen need not be measured.
        if (static_cast<int>(line.size()) <= screenWidth) {
            out << line << '\n';
            continue;
        }
        fitted.clear();
        AppendFitted(fitted, line, screenWidth);
        out << fitted << '\n';
    }
}

}  // namespace qxsql
