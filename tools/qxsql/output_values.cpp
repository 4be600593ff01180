#include "tools/qxsql/output_values.h"

#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "tools/qxsql/terminal.h"

namespace qxsql {

namespace {

class CellTexts final : public qxdbsqlengine::CellSink {
  public:
    void OnCell(int, bool isNull, std::string_view text) override { texts.emplace_back(isNull, text); }

    std::vector<std::pair<bool, std::string>> texts;
};

std::string Shown(const std::string& text, bool screen) {
    if (!screen)
        return text;
    std::string marked;
    AppendFitted(marked, text, std::numeric_limits<int>::max());
    return marked;
}

}  // namespace

void PrintOutputValues(std::ostream& out, qxdbsqlengine::DataStorage& store, int resultSet, bool screen) {
    std::vector<int> columns;
    for (int i = 0; i < store.GetNumberOfColumns(resultSet); ++i)
        columns.push_back(i);
    CellTexts cells;
    store.VisitRow(resultSet, 0, columns.data(), static_cast<int>(columns.size()),
                   qxdbsqlengine::CellFormat::Classic(), cells);
    out << "Output values:\n";
    for (std::size_t i = 0; i < cells.texts.size(); ++i) {
        const std::string label = Shown(store.GetColumnLabel(resultSet, static_cast<int>(i)), screen);
        const auto& [isNull, text] = cells.texts[i];
        out << label << (isNull ? " is NULL" : " = " + Shown(text, screen)) << '\n';
    }
    out << std::flush;
}

}  // namespace qxsql
