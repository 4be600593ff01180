// What all formats share: the handle, the walk over result sets and rows, progress, cancel.
#include "persistence/persistence.h"

#include <sstream>
#include <thread>

#include "persistence/ascii_persistence.h"
#include "persistence_support.h"
#include "platform/qxsplt/errors.h"

namespace qxdbsqlengine {
namespace {

using FrameworkTest = PersistenceTest;

TEST_F(FrameworkTest, NumbersWithoutAFormatGiveAnEmptyHandle) {
    AddTextResultSet(*store, {"A"}, {{"1"}});
    for (int number : {5, -1, 10, 1000}) {
        Persistence persistence(static_cast<ResultFileType>(number), cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        persistence.SetDelimiter(';');
        persistence.SetIncludeHeaders(true);
        persistence.SetUseQuotingLogic(true);
        persistence.SetExpandTabs(true);
        persistence.SetTableName("T");
        persistence.SetRowList({0});
        persistence.SetColumnList({0});
        persistence.SetQuotedColumnList({"A"});
        persistence.SetDBMSType(qxdb::DBTYPE_ORACLE);
        EXPECT_EQ(persistence.GetFileName(), "") << number;
        EXPECT_FALSE(persistence.WriteAllResultSets());
        EXPECT_FALSE(persistence.WriteResultSets({0}));
        EXPECT_FALSE(persistence.WriteResultSet(0, true));
        EXPECT_FALSE(persistence.ReadAllResultSets());
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    EXPECT_TRUE(callback.records.empty());
}

// The first bytes tell which format a number stands for.
TEST_F(FrameworkTest, EveryNumberHasItsFormat) {
    AddTextResultSet(*store, {"A", "B"}, {{"1", "2"}});
    store->SetTableName(0, "T");
    const std::pair<int, const char*> expected[] = {
        {0, "A\tB\r\n"},
        {1, "A,B\r\n"},
        {2, "<!DOCTYPE html PUBLIC \"-//IETF//DTD HTML//EN\">\r\n<html>\r\n"},
        {3, "A|B\r\n"},
        {4, "<html xmlns:o=\"urn:schemas-microsoft-com:office:office\"\r\n"},
        {6, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n"},
        {7, "A,B\r\n"},
        {8, "--\n-- TABLE INSERT STATEMENTS\n--\nINSERT INTO T ( A, B ) \n"},
        {9, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<?mso-application progid=\"Excel.Sheet\"?>\n"},
    };
    for (const auto& [number, start] : expected)
        EXPECT_EQ(WriteAll(static_cast<ResultFileType>(number)).substr(0, std::string(start).size()), start)
            << number;
}

TEST_F(FrameworkTest, OnlyDelimitedTextAndXmlAreReadBack) {
    AddTextResultSet(*store, {"A"}, {{"1"}});
    store->SetTableName(0, "T");
    const std::pair<int, bool> expected[] = {{0, true},  {1, true}, {2, false}, {3, true},  {4, false},
                                             {5, false}, {6, true}, {7, true},  {8, false}, {9, false}};
    for (const auto& [number, isRead] : expected) {
        Persistence persistence(static_cast<ResultFileType>(number), cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        EXPECT_EQ(persistence.WriteResultSets({0}), number != 5) << number;
        const int before = store->GetNumberOfResultSets();
        EXPECT_EQ(persistence.ReadAllResultSets(), isRead) << number;
        EXPECT_EQ(store->GetNumberOfResultSets(), before + (isRead ? 1 : 0)) << number;
    }
}

TEST_F(FrameworkTest, DelimiterAtCreation) {
    AddTextResultSet(*store, {"A", "B"}, {});
    const std::pair<int, const char*> expected[] = {
        {0, "A\tB\r\n"}, {1, "A,B\r\n"}, {3, "A|B\r\n"}, {7, "A,B\r\n"}};
    for (const auto& [number, bytes] : expected)
        EXPECT_EQ(WriteAll(static_cast<ResultFileType>(number)), bytes) << number;
    EXPECT_EQ(WriteAll(ResultFileDelimited, [](Persistence& p) { p.SetDelimiter(';'); }), "A;B\r\n");
}

TEST_F(FrameworkTest, SettingsOfAFormat) {
    AsciiPersistence persistence(ResultFileComma, cancel);
    IPersistenceImpl& impl = persistence;
    EXPECT_EQ(impl.GetDBMSType(), qxdb::DBTYPE_UNSET);
    EXPECT_EQ(static_cast<int>(impl.GetDBMSType()), -1);
    impl.SetFileName("name");
    impl.SetTableName("table");
    impl.SetRowList({3, 1});
    impl.SetColumnList({2});
    impl.SetDBMSType(qxdb::DBTYPE_MYSQL);
    impl.SetQuotedColumnList({"x"});
    std::vector<int> rows{9};
    std::vector<int> columns{9, 9};
    impl.GetRowList(rows);
    impl.GetColumnList(columns);
    EXPECT_EQ(impl.GetFileName(), "name");
    EXPECT_EQ(impl.GetTableName(), "table");
    EXPECT_EQ(rows, (std::vector<int>{3, 1}));
    EXPECT_EQ(columns, std::vector<int>{2});
    EXPECT_EQ(impl.GetDBMSType(), qxdb::DBTYPE_MYSQL);
    EXPECT_TRUE(impl.GetQuotedColumnList().empty());
    impl.SetFileName(nullptr);
    impl.SetTableName(nullptr);
    EXPECT_EQ(impl.GetFileName(), "");
    EXPECT_EQ(impl.GetTableName(), "");
    impl.SetCancelled(true);
    EXPECT_TRUE(cancel.load());
    impl.SetCancelled(false);
    EXPECT_FALSE(cancel.load());
}

TEST_F(FrameworkTest, AStoreWithoutResultSetsGivesAnEmptyFile) {
    WriteWholeFile(file, "old");
    EXPECT_EQ(WriteAll(ResultFileComma), "");
    EXPECT_TRUE(callback.progress.empty());
}

TEST_F(FrameworkTest, RowListKeepsItsOrderAndCountsInvalidRows) {
    AddTextResultSet(*store, {"A"}, {{"r0"}, {"r1"}, {"r2"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    persistence.SetRowList({2, -1, 0, 3, 2});
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_EQ(ReadWholeFile(file), "A\r\nr2\r\nr0\r\nr2\r\n");
    EXPECT_EQ(callback.progress, (std::vector<float>{1 / 5.0f, 3 / 5.0f, 1.0f}));
}

TEST_F(FrameworkTest, RowListIsKeptForOneResultSetAndDroppedForTwo) {
    AddTextResultSet(*store, {"A"}, {{"r0"}, {"r1"}});
    const auto second = [](Persistence& p) { p.SetRowList({1}); };
    EXPECT_EQ(WriteAll(ResultFileComma, second), "A\r\nr1\r\n");
    EXPECT_EQ(callback.progress, std::vector<float>{0.5f});  // of all rows of the store
    AddTextResultSet(*store, {"B"}, {{"s0"}});
    EXPECT_EQ(WriteAll(ResultFileComma, second), "A\r\nr0\r\nr1\r\n\r\nB\r\ns0\r\n");
}

TEST_F(FrameworkTest, RowListWithRepetitionsNeverReportsMoreThanAll) {
    AddTextResultSet(*store, {"A"}, {{"r0"}});
    WriteAll(ResultFileComma, [](Persistence& p) { p.SetRowList({0, 0, 0}); });
    EXPECT_EQ(callback.progress, (std::vector<float>{1.0f, 1.0f, 1.0f}));
}

TEST_F(FrameworkTest, ColumnListKeepsItsOrderAndLeavesOutInvalidColumns) {
    AddTextResultSet(*store, {"A", "B", "C"}, {{"1", "2", "3"}});
    EXPECT_EQ(WriteAll(ResultFileComma,
                       [](Persistence& p) {
                           p.SetColumnList({2, -1, 0, 3, 2});
                       }),
              "C,A,C\r\n3,1,3\r\n");
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetColumnList({7}); }), "\r\n\r\n");
}

TEST_F(FrameworkTest, ColumnListIsResolvedForEachResultSet) {
    AddTextResultSet(*store, {"A", "B", "C"}, {{"1", "2", "3"}});
    AddTextResultSet(*store, {"D"}, {{"4"}});
    EXPECT_EQ(WriteAll(ResultFileComma,
                       [](Persistence& p) {
                           p.SetColumnList({2, 0});
                       }),
              "C,A\r\n3,1\r\n\r\nD\r\n4\r\n");
}

TEST_F(FrameworkTest, ListedResultSetsInTheGivenOrder) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    AddTextResultSet(*store, {"B"}, {{"1"}, {"2"}});
    AddTextResultSet(*store, {"C"}, {{"3"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSets({2, 1}));
    EXPECT_EQ(ReadWholeFile(file), "C\r\n3\r\n\r\nB\r\n1\r\n2\r\n");
    EXPECT_EQ(callback.progress, (std::vector<float>{1 / 3.0f, 2 / 3.0f, 1.0f}));
    EXPECT_TRUE(persistence.WriteResultSets({}));
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n\r\nB\r\n1\r\n2\r\n\r\nC\r\n3\r\n");
}

TEST_F(FrameworkTest, SingleResultSetsWithoutTheWholeFileGoOnBehind) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    AddTextResultSet(*store, {"B"}, {{"1"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");  // already in the file
    EXPECT_TRUE(persistence.WriteResultSet(1, true));
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\nB\r\n1\r\n");
    EXPECT_TRUE(persistence.WriteResultSet(1, true));  // closed: begins anew
    EXPECT_EQ(ReadWholeFile(file), "B\r\n1\r\n");
}

TEST_F(FrameworkTest, AnotherFileNameEndsTheOpenFile) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    const std::string other = folder.Path("other.txt");
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    persistence.SetFileName(other.c_str());
    EXPECT_EQ(persistence.GetFileName(), other);
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
    EXPECT_EQ(ReadWholeFile(other), "A\r\n0\r\n");
}

TEST_F(FrameworkTest, ASortedViewIsWrittenAsSorted) {
    AddTextResultSet(*store, {"A", "B"}, {{"b", "1"}, {"c", "2"}, {"a", "3"}});
    store->Sort(0, {DataSort(0, false)}, nullptr, 0);
    EXPECT_EQ(WriteAll(ResultFileComma), "A,B\r\nc,2\r\nb,1\r\na,3\r\n");
    store->HideRow(0, 0);
    EXPECT_EQ(WriteAll(ResultFileComma), "A,B\r\nb,1\r\na,3\r\n");
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetRowList({1}); }), "A,B\r\na,3\r\n");
}

TEST_F(FrameworkTest, HeadersOff) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    AddTextResultSet(*store, {"B"}, {{"1"}});
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              "0\r\n\r\n1\r\n");
}

TEST_F(FrameworkTest, ProgressOverAllResultSets) {
    AddTextResultSet(*store, {"A"}, {{"0"}, {"1"}, {"2"}});
    AddTextResultSet(*store, {"B"}, {{"3"}});
    WriteAll(ResultFileComma);
    EXPECT_EQ(callback.progress, (std::vector<float>{0.25f, 0.5f, 0.75f, 1.0f}));
    EXPECT_TRUE(callback.totals.empty());
    EXPECT_TRUE(callback.rowsDone.empty());
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(FrameworkTest, RowsThatArriveMeanwhileAreLeftToTheNextExport) {
    AddTextResultSet(*store, {"A"}, {{"0"}, {"1"}});
    callback.onProgress = [this] { InsertTextRow(*store, 0, {"late"}); };
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\n0\r\n1\r\n");
    EXPECT_EQ(callback.progress, (std::vector<float>{0.5f, 1.0f}));
    callback.onProgress = nullptr;
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\n0\r\n1\r\nlate\r\nlate\r\n");
}

TEST_F(FrameworkTest, CancelKeepsTheRowsSoFarAndIsASuccess) {
    std::vector<Row> rows(100, Row{"x"});
    AddTextResultSet(*store, {"A"}, rows);
    AddTextResultSet(*store, {"B"}, rows);
    callback.onProgress = [this] { cancel = callback.progress.size() == 3; };
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\nx\r\nx\r\nx\r\n\r\nB\r\n");
    EXPECT_EQ(callback.progress.size(), 3u);
}

// Rows are written some at a time; a cancel stops within one all the same, wherever it comes.
TEST_F(FrameworkTest, CancelBehindEveryRowOfAListKeepsJustThoseBefore) {
    std::vector<Row> rows;
    std::vector<int> list;
    for (int row = 0; row < 70; ++row) {
        rows.push_back({std::to_string(row)});
        list.push_back(row % 7 == 3 ? -1 : row);  // some are skipped
    }
    AddTextResultSet(*store, {"A"}, rows);
    for (std::size_t last = 1; last <= 60; ++last) {
        cancel = false;
        callback.progress.clear();
        callback.onProgress = [&] { cancel = callback.progress.size() == last; };
        std::string expected = "A\r\n";
        std::size_t written = 0;
        int done = 0;
        for (std::size_t i = 0; written < last; ++i) {
            written += list[i] >= 0 ? 1 : 0;
            expected += list[i] >= 0 ? std::to_string(list[i]) + "\r\n" : "";
            done = static_cast<int>(i) + 1;
        }
        EXPECT_EQ(WriteAll(ResultFileComma, [&list](Persistence& p) { p.SetRowList(list); }), expected);
        ASSERT_EQ(callback.progress.size(), last);
        EXPECT_EQ(callback.progress.back(), static_cast<float>(done / 70.0));
    }
}

TEST_F(FrameworkTest, CancelStopsARowListToo) {
    AddTextResultSet(*store, {"A"}, {{"0"}, {"1"}});
    callback.onProgress = [this] { cancel = true; };
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetRowList({1, 0}); }), "A\r\n1\r\n");
}

TEST_F(FrameworkTest, CancelledFromTheStartWritesHeadersOnly) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    cancel = true;
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\n");
}

TEST_F(FrameworkTest, CancelFromAnotherThread) {
    AddTextResultSet(*store, {"A"}, std::vector<Row>(1000, Row{"x"}));
    std::atomic<bool> started{false};
    callback.onProgress = [&] {
        started = true;
        while (!cancel)
            std::this_thread::yield();
    };
    std::thread other([&] {
        while (!started)
            std::this_thread::yield();
        cancel = true;
    });
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\nx\r\n");
    other.join();
}

TEST_F(FrameworkTest, AnUnknownResultSetIsTheStoresException) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_THROW(persistence.WriteResultSet(1, true), std::out_of_range);
    EXPECT_THROW(persistence.WriteResultSets({0, 1}), std::out_of_range);
    persistence.SetRowList({0});
    EXPECT_THROW(persistence.WriteResultSet(1, true), std::out_of_range);
    persistence.SetRowList({});
    EXPECT_TRUE(persistence.WriteAllResultSets());  // the file was closed
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
}

TEST_F(FrameworkTest, AnExceptionOfTheCallbackClosesTheFileWithTheRowsSoFar) {
    AddTextResultSet(*store, {"A"}, {{"0"}, {"1"}, {"2"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    callback.onProgress = [this] {
        if (callback.progress.size() == 2)
            throw std::runtime_error("stop");
    };
    EXPECT_THROW(persistence.WriteAllResultSets(), std::runtime_error);
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n1\r\n");
    callback.onProgress = nullptr;
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n1\r\n2\r\n");
}

TEST_F(FrameworkTest, WithoutCallback) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    Persistence persistence(ResultFileComma, cancel, nullptr, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_TRUE(persistence.ReadAllResultSets());
    EXPECT_EQ(Cells(*store, 1), (std::vector<std::vector<std::string>>{{"0"}}));
    persistence.SetFileName(folder.Path("missing/file").c_str());
    EXPECT_FALSE(persistence.WriteAllResultSets());
    EXPECT_FALSE(persistence.ReadAllResultSets());
}

TEST_F(FrameworkTest, WithoutAStore) {
    Persistence persistence(ResultFileComma, cancel, &callback, SmartPtr<DataStorage>());
    persistence.SetFileName(file.c_str());
    EXPECT_FALSE(persistence.WriteAllResultSets());
    EXPECT_FALSE(persistence.WriteResultSets({0}));
    EXPECT_FALSE(persistence.WriteResultSet(0, true));
    EXPECT_FALSE(persistence.ReadAllResultSets());
    EXPECT_EQ(callback.records.size(), 4u);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(FrameworkTest, AnOpenStreamInsteadOfAFile) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    std::ostringstream stream;
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    persistence.SetOutputStream(&stream);
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(stream.str(), "A\r\n0\r\n");
    EXPECT_TRUE(persistence.WriteResultSet(0, false));  // goes on behind
    EXPECT_EQ(stream.str(), "A\r\n0\r\nA\r\n0\r\n");
    EXPECT_FALSE(std::filesystem::exists(file));
    stream.setstate(std::ios::badbit);
    EXPECT_FALSE(persistence.WriteAllResultSets());
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetSeverity(), 2);
    persistence.SetOutputStream(nullptr);
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
}

// A format that only writes, and marks what it is asked for.
class MarkingPersistence : public PersistenceImpl {
  public:
    using PersistenceImpl::PersistenceImpl;
    void WriteFileHeader() override { Out().Append("<"); }
    void WriteResultSetHeader(bool labels) override {
        SelectColumns();
        Out().Append(std::to_string(currentResultSet) + (labels ? "H" : "h") +
                     std::to_string(resultSetsWritten));
    }
    void WriteRow(int row) override { Out().Append("r" + std::to_string(row)); }
    void WriteResultSetFooter() override { Out().Append("f"); }
    void WriteFileFooter() override { Out().Append(">"); }
};

TEST_F(FrameworkTest, OrderOfThePieces) {
    MarkingPersistence persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(ReadWholeFile(file), "");
    AddTextResultSet(*store, {"A"}, {{"0"}, {"1"}});
    AddTextResultSet(*store, {"B"}, {{"0"}});
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(ReadWholeFile(file), "<0H0r0r1f1H1r0f>");
    persistence.SetIncludeHeaders(false);
    EXPECT_TRUE(persistence.WriteResultSets({1}));
    EXPECT_EQ(ReadWholeFile(file), "<1h0r0f>");
    EXPECT_TRUE(persistence.WriteResultSet(1, false));
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_EQ(ReadWholeFile(file), "1h0r0f<0h0r0r1f>");
    cancel = true;
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_EQ(ReadWholeFile(file), "<0h0f>");
}

TEST_F(FrameworkTest, AFormatWithoutAReaderReadsNothing) {
    MarkingPersistence persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    EXPECT_FALSE(persistence.ReadResultSetHeader(true));
    EXPECT_FALSE(persistence.ReadRow());
    WriteWholeFile(file, "text");
    EXPECT_FALSE(persistence.ReadAllResultSets());
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(FrameworkTest, ForwardingOperations) {
    MarkingPersistence persistence(cancel);
    Errors errors;
    errors.AddRecord(UserErrorRecord("one"));
    errors.AddRecord(UserErrorRecord("two"));
    errors.GetNextError();  // somebody read it before
    persistence.NotifyTotalRows(1);
    persistence.NotifyRecord(UserErrorRecord("none"));
    persistence.NotifyRowsDone(2);
    persistence.NotifyErrors(errors);
    persistence.NotifyRowsRead(3);
    persistence.SetProgressCallback(&callback);
    persistence.NotifyTotalRows(4);
    persistence.NotifyRecord(UserErrorRecord("zero"));
    persistence.NotifyRowsDone(5);
    persistence.NotifyErrors(errors);
    persistence.NotifyRowsRead(6);
    EXPECT_EQ(callback.totals, std::vector<int>{4});
    EXPECT_EQ(callback.rowsDone, (std::vector<int>{5, 6}));
    ASSERT_EQ(callback.records.size(), 3u);
    EXPECT_EQ(callback.records[0].GetErrorDescription(), "zero");
    EXPECT_EQ(callback.records[1].GetErrorDescription(), "one");
    EXPECT_EQ(callback.records[2].GetErrorDescription(), "two");
}

}  // namespace
}  // namespace qxdbsqlengine
