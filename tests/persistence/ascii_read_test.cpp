// Delimited text back into a store.
#include "persistence/ascii_persistence.h"
#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

using Table = std::vector<std::vector<std::string>>;
using AsciiReadTest = PersistenceTest;
using Names = std::vector<std::string>;

const auto kWithoutHeaders = [](Persistence& p) { p.SetIncludeHeaders(false); };

TEST_F(AsciiReadTest, HeaderAndRows) {
    EXPECT_TRUE(ReadBytes("A,B\r\n1,\"x,y\"\r\n,p\"q\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(Labels(*store, 0), (Names{"A", "B"}));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1", "x,y"}, {"", "p\"q"}}));
    EXPECT_EQ(store->GetDataType(0, 0), DataTypeString);
    EXPECT_EQ(store->GetPrecision(0, 0), 0);
    EXPECT_EQ(store->GetResultSetType(0), ResultSetNormal);
    EXPECT_FALSE(store->IsNull(0, 1, 0));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(AsciiReadTest, EmptyFileAddsNothingAndIsASuccess) {
    EXPECT_TRUE(ReadBytes(""));
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_TRUE(callback.progress.empty());
}

TEST_F(AsciiReadTest, OnlyEmptyLinesAddNothing) {
    EXPECT_TRUE(ReadBytes("\r\n\n\r\n"));
    EXPECT_TRUE(ReadBytes("\r\n\n\r\n", ResultFileComma, kWithoutHeaders));
    EXPECT_TRUE(ReadBytes("\xEF\xBB\xBF"));
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(AsciiReadTest, ByteOrderMarkIsNoPartOfTheFirstName) {
    EXPECT_TRUE(
        ReadBytes("\xEF\xBB\xBF"
                  "A,B\r\n1,2\r\n"));
    EXPECT_EQ(Labels(*store, 0), (Names{"A", "B"}));
}

TEST_F(AsciiReadTest, SeveralResultSets) {
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n2\r\n\r\nB,C\r\n3,4\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Labels(*store, 0), Names{"A"});
    EXPECT_EQ(Cells(*store, 0), (Table{{"1"}, {"2"}}));
    EXPECT_EQ(Labels(*store, 1), (Names{"B", "C"}));
    EXPECT_EQ(Cells(*store, 1), (Table{{"3", "4"}}));
}

TEST_F(AsciiReadTest, ResultSetsWithoutRows) {
    EXPECT_TRUE(ReadBytes("A\r\n\r\nB\r\n\r\nC\r\n1\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 3);
    EXPECT_EQ(Cells(*store, 0), Table());
    EXPECT_EQ(Labels(*store, 1), Names{"B"});
    EXPECT_EQ(Cells(*store, 1), Table());
    EXPECT_EQ(Labels(*store, 2), Names{"C"});
    EXPECT_EQ(Cells(*store, 2), (Table{{"1"}}));
}

TEST_F(AsciiReadTest, ResultSetsBehindThoseOfTheStore) {
    AddTextResultSet(*store, {"X"}, {{"old"}});
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Cells(*store, 0), (Table{{"old"}}));
    EXPECT_EQ(Cells(*store, 1), (Table{{"1"}}));
}

TEST_F(AsciiReadTest, HeadersOffTakesTheColumnsFromTheFirstRow) {
    EXPECT_TRUE(ReadBytes("1,2\r\n3,4\r\n\r\n\r\n5\r\n6\r\n", ResultFileComma, kWithoutHeaders));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Labels(*store, 0), (Names{"", ""}));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1", "2"}, {"3", "4"}}));
    EXPECT_EQ(Cells(*store, 1), (Table{{"5"}, {"6"}}));
}

TEST_F(AsciiReadTest, EmptyLinesBeforeTheHeaderAreSkipped) {
    EXPECT_TRUE(ReadBytes("\r\n\r\nA\r\n1\r\n\r\n\r\n\r\nB\r\n2\r\n\r\n\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Cells(*store, 0), (Table{{"1"}}));
    EXPECT_EQ(Labels(*store, 1), Names{"B"});
    EXPECT_EQ(Cells(*store, 1), (Table{{"2"}}));
}

TEST_F(AsciiReadTest, ShortRowsAreFilledUp) {
    EXPECT_TRUE(ReadBytes("A,B,C\r\n1\r\n2,3\r\n4,5,6\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1", "", ""}, {"2", "3", ""}, {"4", "5", "6"}}));
    EXPECT_FALSE(store->IsNull(0, 0, 2));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(AsciiReadTest, LongRowsKeepTheirFirstValuesAndAreReported) {
    EXPECT_TRUE(ReadBytes("A,B\r\n1,2\r\n\"3\n3\",4,5,6\r\n7,8\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1", "2"}, {"3\n3", "4"}, {"7", "8"}}));
    EXPECT_EQ(store->GetNumberOfColumns(0), 2);
    ASSERT_EQ(callback.records.size(), 1u);
    const ErrorRecord& record = callback.records[0];
    EXPECT_EQ(record.GetSeverity(), 2);
    EXPECT_EQ(record.GetErrorCode(), 0);
    EXPECT_EQ(record.GetLineNumber(), 3);
    EXPECT_EQ(record.GetErrorDescription(),
              file + " -- Line 3 has 4 values for 2 columns; the surplus is left out");
}

TEST_F(AsciiReadTest, ManyLongRowsAreToldInOneRecordAtTheEnd) {
    std::string text = "A\r\n";
    for (int i = 0; i < 250; ++i)
        text += "1,2\r\n";
    EXPECT_TRUE(ReadBytes(text));
    EXPECT_EQ(store->GetNumberOfRows(0), 250);
    ASSERT_EQ(callback.records.size(), 101u);
    EXPECT_EQ(callback.records[99].GetLineNumber(), 101);
    EXPECT_EQ(callback.records[100].GetErrorDescription(), file + " -- 150 more rows have too many values");
    callback.records.clear();
    EXPECT_TRUE(ReadBytes("A\r\n1,2\r\n"));  // counted anew
    EXPECT_EQ(callback.records.size(), 1u);
}

TEST_F(AsciiReadTest, AnOpenQuoteAtTheEndIsReported) {
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n\"2\r\n3\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1"}, {"2\r\n3\r\n"}}));
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetSeverity(), 1);
    EXPECT_EQ(callback.records[0].GetLineNumber(), 3);
    EXPECT_EQ(callback.records[0].GetErrorDescription(),
              file + " -- The quote in line 3 is not closed before the end of the file");
}

TEST_F(AsciiReadTest, QuotingOffTakesQuotesAsText) {
    EXPECT_TRUE(ReadBytes("A,B\r\n\"1,2\"\r\n", ResultFileComma,
                          [](Persistence& p) { p.SetUseQuotingLogic(false); }));
    EXPECT_EQ(Cells(*store, 0), (Table{{"\"1", "2\""}}));
}

TEST_F(AsciiReadTest, OtherDelimiters) {
    EXPECT_TRUE(ReadBytes("A\tB\r\n1\t2\r\n", ResultFileTab));
    EXPECT_TRUE(ReadBytes("A|B\r\n1|2\r\n", ResultFilePipe));
    EXPECT_TRUE(
        ReadBytes("A;B\r\n1;2\r\n", ResultFileDelimited, [](Persistence& p) { p.SetDelimiter(';'); }));
    EXPECT_TRUE(
        ReadBytes("A\"B\r\n'1'\"2\r\n", ResultFileComma, [](Persistence& p) { p.SetDelimiter('"'); }));
    ASSERT_EQ(store->GetNumberOfResultSets(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Labels(*store, i), (Names{"A", "B"})) << i;
        EXPECT_EQ(Cells(*store, i), (Table{{"1", "2"}})) << i;
    }
}

TEST_F(AsciiReadTest, NulBytesAndHugeValues) {
    const std::string nul("a\0b", 3);
    const std::string huge(3 * 1024 * 1024 + 1, 'h');
    EXPECT_TRUE(ReadBytes("A,B\r\n" + nul + "," + huge + "\r\n\"" + huge + "\",x\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{nul, huge}, {huge, "x"}}));
}

TEST_F(AsciiReadTest, ProgressIsThePositionInTheFile) {
    EXPECT_TRUE(ReadBytes("A\r\n111\r\n2\r\n33\r\n"));  // 3 + 5 + 3 + 4
    EXPECT_EQ(callback.progress, (std::vector<float>{8 / 15.0f, 11 / 15.0f, 1.0f}));
    EXPECT_TRUE(callback.totals.empty());
    EXPECT_TRUE(callback.rowsDone.empty());
}

TEST_F(AsciiReadTest, CancelKeepsTheRowsSoFarAndIsASuccess) {
    callback.onProgress = [this] { cancel = callback.progress.size() == 2; };
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n2\r\n3\r\n4\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1"}, {"2"}}));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(AsciiReadTest, CancelledFromTheStartReadsNoRow) {
    cancel = true;
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
}

TEST_F(AsciiReadTest, NoLockIsHeldDuringTheCallback) {
    callback.onProgress = [this] { InsertTextRow(*store, 0, {"own"}); };
    EXPECT_TRUE(ReadBytes("A\r\n1\r\n2\r\n"));
    EXPECT_EQ(Cells(*store, 0), (Table{{"1"}, {"own"}, {"2"}, {"own"}}));
}

TEST_F(AsciiReadTest, TokensOneRecordAtATime) {
    // The pieces that the reader is made of, on a file that a derived class opens.
    class Opened : public AsciiPersistence {
      public:
        using AsciiPersistence::AsciiPersistence;
        void Open(const std::string& path) {
            input.open(path, std::ios::binary);
            OnInputOpened();
        }
    };
    WriteWholeFile(file, "\r\n\r\na,b\r\n\r\nc\r\n\r\n");
    Opened persistence(ResultFileComma, cancel);
    persistence.Open(file);
    Names tokens{"old"};
    EXPECT_TRUE(persistence.ReadTokens(tokens));
    EXPECT_EQ(tokens, Names());
    EXPECT_TRUE(persistence.ReadNextTokens(tokens));
    EXPECT_EQ(tokens, (Names{"a", "b"}));
    cancel = true;
    EXPECT_TRUE(persistence.ReadNextTokens(tokens));  // the empty line; the cancel ends the search there
    EXPECT_EQ(tokens, Names());
    cancel = false;
    EXPECT_TRUE(persistence.ReadNextTokens(tokens));
    EXPECT_EQ(tokens, Names{"c"});
    EXPECT_FALSE(persistence.ReadNextTokens(tokens));
    EXPECT_EQ(tokens, Names());
    EXPECT_FALSE(persistence.ReadTokens(tokens));
}

}  // namespace
}  // namespace qxdbsqlengine
