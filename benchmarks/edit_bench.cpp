// How many pages an editable store uses after a million random edits and deletes of long values.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "storage/data_storage.h"
#include "storage/editable_results_storage.h"

namespace qxbench {

using qxdbsqlengine::CellAlloc;
using qxdbsqlengine::DataStorage;

namespace {

constexpr int Rows = 40000;
constexpr int Edits = 1000000;
constexpr int LongestValue = 3000;

class CountedStorage : public qxdbsqlengine::EditableResultsStorage {
  public:
    int PagesInUse() const { return cells.PagesInUse(); }
};

// A store of one column of texts, and what its values need by the lengths alone.
class EditedStore {
  public:
    EditedStore() : container(new CountedStorage), store(container), text(LongestValue, 'x') {
        std::vector<qxdbsqlengine::ColumnDefinition> columns(1);
        store.AddResultSet(columns, qxdbsqlengine::ResultSetNormal);
        for (int row = 0; row < Rows; ++row) {
            store.InsertString(0, 0, NewValue());
            lengths.push_back(value.size());
        }
        physicalRows = Rows;
    }

    void EditOnce() {
        const std::size_t row = random() % lengths.size();
        const unsigned choice = random() % 10;
        if (choice < 2) {
            Delete(row);
        } else if (choice < 4 && lengths.size() < Rows) {
            store.Edit().InsertRow(0, static_cast<int>(row));
            store.Edit().SetString(0, static_cast<int>(row), 0, NewValue());
            lengths.insert(lengths.begin() + static_cast<std::ptrdiff_t>(row), value.size());
        } else {
            store.Edit().SetString(0, static_cast<int>(row), 0, NewValue());
            lengths[row] = value.size();
        }
    }
    void DeleteOnce() { Delete(random() % lengths.size()); }
    int Count() const { return static_cast<int>(lengths.size()); }

    // Percent of pages beyond those that the cells of the values, of the slots and of the directories fill.
    double PagesOver() const {
        const int slotCells = (physicalRows + 7) / 8;
        std::size_t needed = static_cast<std::size_t>(slotCells + (slotCells + 31) / 32);
        for (const std::size_t length : lengths)
            needed += (length + 123) / 124;
        const double pages =
            static_cast<double>((needed + CellAlloc::kCellsPerPage - 1) / CellAlloc::kCellsPerPage);
        return 100.0 * (container->PagesInUse() - pages) / pages;
    }
    double MiB() const { return container->PagesInUse() / 16.0; }

  private:
    void Delete(std::size_t row) {
        store.Edit().DeleteRow(0, static_cast<int>(row));
        lengths.erase(lengths.begin() + static_cast<std::ptrdiff_t>(row));
    }
    const std::string& NewValue() {
        value.assign(text, 0, 16 + random() % (LongestValue - 16));
        return value;
    }

    CountedStorage* container;  // the handle's
    DataStorage store;
    std::mt19937 random{9};
    const std::string text;
    std::string value;
    std::vector<std::size_t> lengths;  // of the values, in the order of the rows
    int physicalRows = 0;              // never more than at first
};

void EditMemory(benchmark::State& state) {
    for (auto _ : state) {
        EditedStore edited;
        for (int i = 0; i < Edits; ++i)
            edited.EditOnce();
        state.counters["over"] = edited.PagesOver();
        state.counters["MiB"] = edited.MiB();
        // Then nine of ten rows go, from all places.
        double worst = 0;
        while (edited.Count() > Rows / 10) {
            edited.DeleteOnce();
            if (edited.Count() % 500 == 0)
                worst = std::max(worst, edited.PagesOver());
        }
        state.counters["shrinking"] = worst;
    }
}

BENCHMARK(EditMemory)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace qxbench
