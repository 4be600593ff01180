// The first byte picks what stands before the others: nothing, a declaration, or that and the beginning of a
// results file, so that the reader is reached at once. Whatever is read, the columns of a result set stay of
// one length, a refusal has its reason, and what was stored comes back from a file of the library's own.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "persistence/persistence.h"
#include "persistence/xml_reader.h"
#include "platform/qxsplt/error_record.h"
#include "storage/data_storage.h"

using namespace qxdbsqlengine;

namespace {

constexpr const char* kStarts[] = {"", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>",
                                   "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?><resultset><rowset>",
                                   "<resultset><rowset><row>"};

class TextSource : public ByteSource {
  public:
    explicit TextSource(const std::string& text) : bytes(text) {}
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given = count < bytes.size() - position ? count : bytes.size() - position;
        std::memcpy(to, bytes.data() + position, given);
        position += given;
        return given;
    }

  private:
    const std::string& bytes;
    std::size_t position = 0;
};

class CountingCallback : public IQXPersistenceProgressCallback {
  public:
    void OnProgress(float done) override { QX_FUZZ_CHECK(done >= 0.0f && done <= 1.0f); }
    void OnTotalRows(int) override {}
    void OnRecord(const ErrorRecord& record) override {
        QX_FUZZ_CHECK(record.GetSeverity() == 1 || record.GetSeverity() == 2);
        QX_FUZZ_CHECK(!record.GetErrorDescription().empty() && record.GetLineNumber() >= 0);
        errors += record.GetSeverity() == 2;
    }
    void OnRowsDone(int) override {}
    int errors = 0;
};

using Store = SmartPtr<DataStorage>;

Store NewStore() {
    return Store(new DataStorage(DataStorage::CreateResultsStorage(false)));
}

bool Read(const std::string& text, const Store& store, CountingCallback& callback) {
    std::atomic<bool> cancel{false};
    TextSource source(text);
    CXMLReader reader(store, &callback, cancel);
    return reader.ParseFile(source, "");
}

// All cells as texts. Asks every cell of every row, so a column that is too short would show.
std::vector<std::string> Cells(DataStorage& store, int resultSet) {
    std::vector<std::string> cells;
    for (int row = 0; row < store.GetNumberOfRows(resultSet); ++row)
        for (int column = 0; column < store.GetNumberOfColumns(resultSet); ++column)
            cells.push_back(store.IsNull(resultSet, row, column)
                                ? "null"
                                : "=" + store.AsString(resultSet, row, column, std::locale::classic()));
    return cells;
}

// Writes rows with cells that can be read again, and reads them. Values and names that break a file, and
// values that do not come back as they are (white space, CR), are left out of this.
void CheckThatTextsComeBack(DataStorage& store) {
    for (int resultSet = 0; resultSet < store.GetNumberOfResultSets() && resultSet < 3; ++resultSet) {
        const Store copy = NewStore();
        std::vector<ColumnDefinition> definitions(1);
        definitions[0].columnLabel = "c";
        copy->AddResultSet(definitions, ResultSetNormal);
        for (const std::string& cell : Cells(store, resultSet)) {
            bool fits = cell.size() < 700 && cell.find("]]>") == std::string::npos;
            for (const char byte : cell)
                fits = fits && (static_cast<unsigned char>(byte) >= 0x20 || byte == '\n' || byte == '\t');
            if (fits)
                copy->InsertString(0, 0, cell);
        }
        if (copy->GetNumberOfRows(0) == 0)
            continue;
        std::atomic<bool> cancel{false};
        CountingCallback callback;
        std::ostringstream file;
        Persistence writer(ResultFileXml, cancel, &callback, copy);
        writer.SetOutputStream(&file);
        QX_FUZZ_CHECK(writer.WriteAllResultSets());
        const Store again = NewStore();
        QX_FUZZ_CHECK(Read(file.str(), again, callback));
        QX_FUZZ_CHECK(callback.errors == 0);
        QX_FUZZ_CHECK(Cells(*again, 0) == Cells(*copy, 0));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::size_t starts = sizeof kStarts / sizeof kStarts[0];
    const std::string text =
        kStarts[data[0] % starts] + std::string(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Store store = NewStore();
    CountingCallback callback;
    const bool read = Read(text, store, callback);
    QX_FUZZ_CHECK(read || callback.errors > 0);
    CheckThatTextsComeBack(*store);
    return 0;
}
