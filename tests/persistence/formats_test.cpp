// What every format has to stand: cancels, full disks, odd values and odd lists.
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>

#include "persistence/expat_parser.h"
#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

constexpr ResultFileType kWritten[] = {ResultFileTab,       ResultFileComma,  ResultFileHtml,
                                       ResultFilePipe,      ResultFileExcel,  ResultFileXml,
                                       ResultFileDelimited, ResultFileInsert, ResultFileSpreadsheetXml};

bool IsXml(ResultFileType type) {
    return type == ResultFileXml || type == ResultFileSpreadsheetXml;
}

// Takes events and knows no more than whether there was an error.
class NoEvents : public IXmlElementHandler {
  public:
    void OnStartElement(const XmlElement&) override {}
    void OnCharacters(const std::string&, int) override {}
    void OnEndElement(const XmlElement&) override {}
    void OnError(int line, int, const std::string& message, int) override {
        ADD_FAILURE() << "line " << line << ": " << message;
    }
    bool IsCancelled() override { return false; }
};

class TextSource : public ByteSource {
  public:
    explicit TextSource(const std::string& text) : stream(text) {}
    std::size_t Read(char* to, std::size_t count) override {
        stream.read(to, static_cast<std::streamsize>(count));
        return static_cast<std::size_t>(stream.gcount());
    }

  private:
    std::istringstream stream;
};

bool IsWellFormed(const std::string& document) {
    NoEvents events;
    TextSource source(document);
    return ExpatParser(events).Parse(source) == ExpatParser::Result::Complete;
}

int Occurrences(const std::string& text, const std::string& what) {
    int count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

class EveryFormat : public PersistenceTest, public ::testing::WithParamInterface<ResultFileType> {
  protected:
    // Two result sets with one column, and a table name.
    void FillTwo(int rows) {
        for (const char* name : {"FIRST", "SECOND"}) {
            const int resultSet = AddTextResultSet(*store, {name}, std::vector<Row>(rows, Row{"value"}));
            store->SetTableName(resultSet, name);
        }
    }
    void ExpectClosedDocument(const std::string& text) {
        if (IsXml(GetParam())) {
            EXPECT_TRUE(IsWellFormed(text));
        }
        if (GetParam() == ResultFileHtml || GetParam() == ResultFileExcel) {
            for (const std::string tag : {"table", "tr", "td", "th", "head", "body", "html"}) {
                EXPECT_EQ(Occurrences(text, "<" + tag + ">") + Occurrences(text, "<" + tag + " "),
                          Occurrences(text, "</" + tag + ">"))
                    << tag;
            }
        }
        if (GetParam() == ResultFileInsert) {
            EXPECT_EQ(Occurrences(text, "INSERT INTO "), Occurrences(text, " )\n"));
        }
    }
};

std::string FormatName(const ::testing::TestParamInfo<ResultFileType>& info) {
    const char* const names[] = {"Tab",  "Comma", "Html", "Pipe",   "Excel",
                                 "None", "Xml",   "Free", "Insert", "SpreadsheetXml"};
    return names[info.param];
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, ::testing::ValuesIn(kWritten), FormatName);

TEST_P(EveryFormat, ACancelStopsBehindTheRowAndLeavesAClosedFile) {
    FillTwo(1000);
    callback.onProgress = [this] { cancel = callback.progress.size() == 3; };
    const std::string text = WriteAll(GetParam());
    EXPECT_EQ(Occurrences(text, "value"), 3);
    EXPECT_EQ(callback.progress.size(), 3u);
    ExpectClosedDocument(text);
}

TEST_P(EveryFormat, CancelledFromTheStart) {
    FillTwo(2);
    cancel = true;
    const std::string text = WriteAll(GetParam());
    EXPECT_EQ(Occurrences(text, "value"), 0);
    ExpectClosedDocument(text);
}

TEST_P(EveryFormat, AFullDiskIsNoSuccessAndHasItsReason) {
    if (!std::filesystem::exists("/dev/full"))
        return;
    FillTwo(10);
    Persistence persistence(GetParam(), cancel, &callback, store);
    persistence.SetFileName("/dev/full");
    EXPECT_FALSE(persistence.WriteAllResultSets());
    EXPECT_FALSE(persistence.WriteResultSets({1}));
    EXPECT_FALSE(persistence.WriteResultSet(0, true));
    EXPECT_FALSE(persistence.WriteResultSet(0, false));
    ASSERT_EQ(callback.records.size(), 4u);
    for (const ErrorRecord& record : callback.records) {
        EXPECT_EQ(record.GetSeverity(), 2);
        EXPECT_EQ(record.GetErrorCode(), ENOSPC);
        EXPECT_EQ(record.GetErrorDescription(), std::string("/dev/full -- ") + std::strerror(ENOSPC));
    }
}

// Files of this process end at a size, as on a disk that fills up in the middle.
class SmallFiles {
  public:
    explicit SmallFiles(rlim_t size) : oldSignal(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit small{size, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFiles() {
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldSignal);
    }

  private:
    rlimit old{};
    void (*oldSignal)(int);
};

TEST_P(EveryFormat, ADiskThatFillsUpInTheMiddle) {
    FillTwo(60000);
    std::size_t whole = 0;
    {
        whole = WriteAll(GetParam()).size();
        callback.progress.clear();
    }
    ASSERT_GT(whole, 600000u);
    const std::size_t room = 300000;
    bool written = true;
    {
        const SmallFiles limit(room);
        Persistence persistence(GetParam(), cancel, &callback, store);
        persistence.SetFileName(file.c_str());
        written = persistence.WriteAllResultSets();
    }
    EXPECT_FALSE(written);
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetErrorCode(), EFBIG);
    EXPECT_EQ(callback.records[0].GetErrorDescription(), file + " -- " + std::strerror(EFBIG));
    EXPECT_EQ(std::filesystem::file_size(file), room);
    EXPECT_LE(callback.progress.size(), 60000u);  // the second result set was not begun
}

TEST_P(EveryFormat, NoRows) {
    FillTwo(0);
    const std::string text = WriteAll(GetParam());
    EXPECT_EQ(Occurrences(text, "value"), 0);
    ExpectClosedDocument(text);
    EXPECT_TRUE(callback.progress.empty());
}

TEST_P(EveryFormat, NoColumnsAtAll) {
    store->AddResultSet({}, ResultSetNormal);
    store->SetTableName(0, "T");
    const std::string text = WriteAll(GetParam());
    ExpectClosedDocument(text);
    EXPECT_EQ(Occurrences(text, "INSERT"), GetParam() == ResultFileInsert ? 1 : 0);  // the comment
}

TEST_P(EveryFormat, ColumnListsWithRepeatsNegativesAndNumbersPastTheEnd) {
    AddTextResultSet(*store, {"A", "B", "C"}, {{"a1", "b1", "c1"}, {"a2", "b2", "c2"}});
    store->SetTableName(0, "T");
    const std::string text = WriteAll(GetParam(), [](Persistence& p) {
        p.SetColumnList({2, -1, 0, 2, 3, 1000000, -2147483647});
    });
    const int second = GetParam() == ResultFileInsert ? 1 : 2;  // there a column appears once
    EXPECT_EQ(Occurrences(text, "c1"), second);
    EXPECT_EQ(Occurrences(text, "c2"), second);
    EXPECT_EQ(Occurrences(text, "a1"), 1);
    EXPECT_EQ(Occurrences(text, "b1"), 0);
    EXPECT_LT(text.find("c1"), text.find("a1"));
    EXPECT_LT(text.find("a1"), text.find("c2"));
    ExpectClosedDocument(text);
}

TEST_P(EveryFormat, RowListsWithRepeatsNegativesAndNumbersPastTheEnd) {
    AddTextResultSet(*store, {"A"}, {{"r0"}, {"r1"}, {"r2"}});
    store->SetTableName(0, "T");
    Persistence persistence(GetParam(), cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    persistence.SetRowList({2, -1, 0, 3, 2});
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    const std::string text = ReadWholeFile(file);
    EXPECT_EQ(Occurrences(text, "r2"), 2);
    EXPECT_EQ(Occurrences(text, "r0"), 1);
    EXPECT_EQ(Occurrences(text, "r1"), 0);
    EXPECT_LT(text.find("r2"), text.find("r0"));
    EXPECT_EQ(callback.progress, (std::vector<float>{1 / 5.0f, 3 / 5.0f, 1.0f}));
    ExpectClosedDocument(text);
}

TEST_P(EveryFormat, ASortedViewIsWrittenAsSorted) {
    std::vector<Row> rows;
    for (int i = 0; i < 2000; ++i)
        rows.push_back({"value" + std::to_string(10000 + i * 7 % 2000) + ";", "2004-12-31 00:00:00"});
    AddTypedResultSet(*store, {Column("A", DataTypeString), Column("T", DataTypeTimestamp)}, rows);
    store->SetTableName(0, "T");
    store->Sort(0, {DataSort(0, false)}, nullptr, 0);
    store->HideRow(0, 1);
    const std::string text = WriteAll(GetParam(), [](Persistence& p) {
        p.SetDBMSType(qxdb::DBTYPE_ORACLE);
        p.SetDelimiter('|');
    });
    std::size_t at = 0;
    for (int i = 1999; i >= 0; --i) {
        const std::size_t found = text.find("value" + std::to_string(10000 + i) + ";");
        if (i == 1998) {
            EXPECT_EQ(found, std::string::npos);
            continue;
        }
        ASSERT_NE(found, std::string::npos) << i;
        EXPECT_GT(found, at);
        at = found;
    }
    ExpectClosedDocument(text);
}

TEST_P(EveryFormat, AValueOfAHundredMegabytes) {
    const std::size_t size = 100 * 1000 * 1000;
    AddTextResultSet(*store, {"A"}, {{std::string(size, 'x')}, {"last"}});
    store->SetTableName(0, "T");
    const std::string text = WriteAll(GetParam());
    const std::size_t from = text.find("xxx");
    ASSERT_NE(from, std::string::npos);
    EXPECT_EQ(text.find_first_not_of('x', from), from + size);
    EXPECT_NE(text.find("last", from + size), std::string::npos);
    EXPECT_LT(text.size(), size + 3000);
}

TEST_P(EveryFormat, BytesThatAreNoTextPass) {
    const std::string odd =
        std::string("q\0q", 3) + "\xF0\x9F\x98\x80" + "\xC3\x28\x80\xFF\xED\xA0\x80" + "q";
    AddTextResultSet(*store, {"A"}, {{odd}});
    store->SetTableName(0, "T");
    EXPECT_EQ(Occurrences(WriteAll(GetParam()), odd), 1);
}

TEST_P(EveryFormat, NullAndEmptyAndBlanks) {
    AddTextResultSet(*store, {"A", "B", "C"}, {{Cell(), "", "   "}});
    store->SetTableName(0, "T");
    const std::string text = WriteAll(GetParam());
    const std::string blanks = "&nbsp;&nbsp;&nbsp;";
    switch (GetParam()) {
        case ResultFileHtml:
            EXPECT_NE(
                text.find("<td>[NULL]</td>\r\n            <td></td>\r\n            <td>" + blanks + "</td>"),
                std::string::npos);
            break;
        case ResultFileExcel:
            EXPECT_NE(text.find("<td>[NULL]</td>\r\n            <td class=xl30></td>\r\n            <td "
                                "class=xl30><SPAN STYLE='mso-spacerun:yes'>" +
                                blanks + "</SPAN></td>"),
                      std::string::npos);
            break;
        case ResultFileXml:
            EXPECT_NE(text.find("name=\"A\" null=\"true\" />"), std::string::npos);
            EXPECT_NE(text.find("name=\"B\"><![CDATA[]]></column>"), std::string::npos);
            EXPECT_NE(text.find("name=\"C\"><![CDATA[   ]]></column>"), std::string::npos);
            break;
        case ResultFileInsert:
            EXPECT_NE(text.find("VALUES ( NULL, '', '   ' )"), std::string::npos);
            break;
        case ResultFileSpreadsheetXml:
            EXPECT_EQ(Occurrences(text, ">[NULL]</Data>"), 1);
            EXPECT_EQ(Occurrences(text, "\"String\"></Data>"), 1);
            EXPECT_EQ(Occurrences(text, ">   </Data>"), 1);
            break;
        default:
            const char delimiter = GetParam() == ResultFileTab    ? '\t'
                                   : GetParam() == ResultFilePipe ? '|'
                                                                  : ',';
            EXPECT_EQ(text.substr(text.find('\n') + 1), std::string(2, delimiter) + "   \r\n");
    }
}

TEST_P(EveryFormat, AnOpenStreamInsteadOfAFile) {
    FillTwo(3);
    const std::string expected = WriteAll(GetParam());
    std::ostringstream stream;
    Persistence persistence(GetParam(), cancel, &callback, store);
    persistence.SetFileName(file.c_str());  // the title of a page
    persistence.SetOutputStream(&stream);
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(stream.str(), expected);
}

// A store whose reads fail for want of a lock, one after the other.
class BusyStore : public AppendOnlyResultsStorage {
  public:
    qxdb::Timestamp GetTimestamp(int index, int rs, int row, int col) override {
        if (refusals == 0)
            return AppendOnlyResultsStorage::GetTimestamp(index, rs, row, col);
        --refusals;
        return qxdb::Timestamp();
    }
    std::string AsString(int index, int rs, int row, int col, const std::locale& locale) override {
        if (refusals == 0)
            return AppendOnlyResultsStorage::AsString(index, rs, row, col, locale);
        --refusals;
        return std::string();
    }
    int refusals = 0;
};

// Formats with timestamps of their own must not take a refused read for the zero timestamp.
TEST_F(PersistenceTest, ABusyStoreIsAskedAgainForItsTimestamps) {
    for (ResultFileType type : {ResultFileExcel, ResultFileInsert, ResultFileSpreadsheetXml}) {
        BusyStore* const busy = new BusyStore;
        store = SmartPtr<DataStorage>(new DataStorage(busy));
        AddTypedResultSet(*store, {Column("T", DataTypeTimestamp)}, {{"2004-12-31 01:02:03"}});
        store->SetTableName(0, "T");
        const auto write = [this, type] {
            Persistence persistence(type, cancel, &callback, store);
            persistence.SetFileName(file.c_str());
            persistence.SetDBMSType(qxdb::DBTYPE_ORACLE);
            return persistence.WriteAllResultSets();
        };
        EXPECT_TRUE(write());
        const std::string expected = ReadWholeFile(file);
        busy->refusals = 10;
        EXPECT_TRUE(write());
        EXPECT_EQ(ReadWholeFile(file), expected);
        EXPECT_EQ(busy->refusals, 0);
        busy->refusals = 100;
        callback.records.clear();
        EXPECT_FALSE(write());
        ASSERT_EQ(callback.records.size(), 1u);
        EXPECT_EQ(callback.records[0].GetErrorCode(), ETIMEDOUT);
    }
}

TEST_F(PersistenceTest, TimestampsOfASortedViewOverSeveralBlocks) {
    store->AddResultSet(
        {Column("N", DataTypeInt), Column("T", DataTypeTimestamp), Column("U", DataTypeTimestamp)},
        ResultSetNormal);
    const int rows = 70000;
    for (int i = 0; i < rows; ++i) {
        store->InsertInt(0, 0, i * 7919 % rows);
        store->InsertTimestamp(0, 1, Time(2000 + i % 50, 1 + i % 12, 1 + i % 28, i % 24, i % 60, i % 59, i));
        if (i % 10 == 0)
            store->InsertNull(0, 2);
        else
            store->InsertTimestamp(0, 2, Time(1900, 1, 1, 0, 0, 0, i % 1000 * 1000000));
    }
    store->Sort(0, {DataSort(0, true)}, nullptr, 0);
    const std::string text =
        WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetIncludeHeaders(false); });
    std::string expected;
    for (int row = 0; row < rows; ++row) {
        expected +=
            "   <Row>\n    <Cell><Data ss:Type=\"Number\">" + std::to_string(row) + "</Data></Cell>\n";
        for (int column : {1, 2}) {
            if (store->IsNull(0, row, column)) {
                expected += "    <Cell><Data ss:Type=\"String\">[NULL]</Data></Cell>\n";
                continue;
            }
            qxdb::Timestamp time = store->GetTimestamp(0, row, column);
            time.SetFormat("yyyy-MM-ddTHH:mm:ss.fff");
            expected += "    <Cell ss:StyleID=\"s64\"><Data ss:Type=\"DateTime\">" + time.AsString() +
                        "</Data></Cell>\n";
        }
        expected += "   </Row>\n";
    }
    expected += "  </Table>\n </Worksheet>\n</Workbook>\n";
    EXPECT_EQ(text.size() > expected.size() && text.substr(text.size() - expected.size()) == expected, true);
    // Rows by a list are not in sequence.
    const std::string listed = WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) {
        p.SetIncludeHeaders(false);
        p.SetRowList({69999, 5, 6, 40000});
    });
    std::size_t at = 0;
    for (const char* number : {">69999<", ">5<", ">6<", ">40000<"}) {
        const std::size_t found = listed.find(number);
        ASSERT_NE(found, std::string::npos);
        EXPECT_GT(found, at);
        at = found;
        const int row = std::atoi(number + 1);
        qxdb::Timestamp time = store->GetTimestamp(0, row, 1);
        time.SetFormat("yyyy-MM-ddTHH:mm:ss.fff");
        EXPECT_LT(listed.find(time.AsString(), at) - at, 200u);
    }
}

}  // namespace
}  // namespace qxdbsqlengine
