// Previews of large objects, by server and type.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "engine/cancellation.h"
#include "handler_fixture.h"
#include "storage/data_storage_inserter.h"

namespace qxtest {
namespace {

using qxdb::Column;
using Texts = std::vector<std::string>;

constexpr unsigned int Binary = 1;
constexpr unsigned int Wide = 16;

// UTF-16 bytes of an ASCII text, in the machine's order.
std::string Utf16(const std::u16string& text) {
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
}

struct LobColumn {
    qxdb::DBTYPE server = qxdb::DBTYPE_OTHER;
    const char* typeName = "CLOB";
    unsigned int flags = 0;
    bool unicode = false;
};

class LobInserterTest : public HandlerTest {
  protected:
    LobInserterTest() { SetLimit(4000); }

    void SetLimit(int limit) {
        request.SetUseLobLocators(false);
        request.SetLobStreamSize(limit);
        request.SetLobPreviewSize(-1);
    }
    static Result LobRows(const LobColumn& column, std::vector<Cell> cells) {
        qxdb::ColumnRecord record = MakeColumn("LOB", Column::BindLob, column.typeName);
        record.lobFlags = column.flags;
        std::vector<Row> rows;
        for (Cell& cell : cells)
            rows.push_back({std::move(cell)});
        return Rows({record}, std::move(rows));
    }
    // The previews of a run over objects with these bytes.
    Texts Previews(const LobColumn& column, const std::vector<std::string>& objects) {
        std::vector<Cell> cells;
        for (const std::string& bytes : objects)
            cells.push_back(LobCell{bytes, 0, false});
        return RunOver(column, LobRows(column, std::move(cells)));
    }
    Texts RunOver(const LobColumn& column, Result result) {
        server.SetUnicode(column.unicode);
        server.Expect("select lob from t").Returns(std::move(result));
        store->CleanUp();
        EXPECT_TRUE(Run(column.server, "select lob from t"));
        EXPECT_EQ(request.trace, Trace());
        return Column(0);
    }
    std::string Preview(const LobColumn& column, const std::string& bytes) {
        const Texts previews = Previews(column, {bytes});
        return previews.size() == 1 ? previews[0] : "no single row";
    }
};

TEST_F(LobInserterTest, TextOfAPlainServerIsStoredAsItComes) {
    EXPECT_EQ(Preview({}, "large text"), "large text");
    EXPECT_EQ(Preview({}, "\xC3\xA4\xFF"), "\xC3\xA4\xFF");
}

TEST_F(LobInserterTest, TextEndsAtItsFirstZeroByte) {
    EXPECT_EQ(Preview({}, std::string("one\0two", 7)), "one");
}

TEST_F(LobInserterTest, BinaryIsHexadecimalText) {
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "BLOB", Binary}, std::string("\x00\xFF\x10", 3)), "00FF10");
}

TEST_F(LobInserterTest, BinaryFlagCountsOnlyWithoutTheWideOnes) {
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "X", Binary | 2}, "ab"), "ab");
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "X", Binary | Wide}, Utf16(u"ab")), "ab");
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "X", 4}, "ab"), "ab");
}

TEST_F(LobInserterTest, EmptyObjectIsAnEmptyPreviewAndNoNull) {
    EXPECT_EQ(Previews({}, {""}), (Texts{""}));
    EXPECT_FALSE(store->IsNull(0, 0, 0));
    EXPECT_EQ(Previews({qxdb::DBTYPE_OTHER, "X", Wide}, {""}), (Texts{""}));
    EXPECT_EQ(Previews({qxdb::DBTYPE_OTHER, "BLOB", Binary}, {""}), (Texts{""}));
}

TEST_F(LobInserterTest, NullIsStoredAsNull) {
    EXPECT_EQ(RunOver({}, LobRows({}, {Null(), LobCell{"x", 0, false}})), (Texts{"[NULL]", "x"}));
    EXPECT_TRUE(store->IsNull(0, 0, 0));
}

TEST_F(LobInserterTest, NullThatShowsOnlyAfterReadingIsStoredAsNull) {
    EXPECT_EQ(RunOver({}, LobRows({}, {LobCell{"", 0, true}, LobCell{"x", 0, false}})),
              (Texts{"[NULL]", "x"}));
    EXPECT_TRUE(store->IsNull(0, 0, 0));
}

TEST_F(LobInserterTest, NothingIsReadBeyondTheLimit) {
    std::string text;
    for (int i = 0; i < 6000; ++i)
        text += static_cast<char>('a' + i % 26);
    for (const int limit : {0, 1, 5, 2047, 2048, 2049, 3000, 4096, 5999, 6000, 6001, 9000}) {
        SetLimit(limit);
        EXPECT_EQ(Preview({}, text), text.substr(0, static_cast<std::size_t>(limit))) << limit;
    }
    SetLimit(-1);
    EXPECT_EQ(Preview({}, text), "");
}

TEST_F(LobInserterTest, LimitIsThePreviewSizeWithLocators) {
    request.SetUseLobLocators(true);
    request.SetLobPreviewSize(3);
    request.SetLobStreamSize(5);
    EXPECT_EQ(Preview({}, "abcdefgh"), "abc");
    request.SetUseLobLocators(false);
    EXPECT_EQ(Preview({}, "abcdefgh"), "abcde");
}

TEST_F(LobInserterTest, ShortReadEndsTheObject) {
    EXPECT_EQ(RunOver({}, LobRows({}, {LobCell{"first second", 6, false}, LobCell{"next", 0, false}})),
              (Texts{"first ", "next"}));
}

// A stream that counts what it is asked for.
class CountingField : public qxdb::Field, public qxdb::RawStream {
  public:
    std::string GetName() override { return "LOB"; }
    Column::BindType GetType() override { return Column::BindLob; }
    bool IsNull() override { return false; }
    qxdb::RawStream* GetStream() override { return this; }
    unsigned int Read(unsigned char* buffer, unsigned int length) override {
        asked.push_back(length);
        if (onRead)
            onRead();
        std::fill_n(buffer, length, static_cast<unsigned char>('x'));
        return length;
    }
    std::vector<unsigned int> asked;
    std::function<void()> onRead;
};

class LobReadingTest : public LobInserterTest {
  protected:
    void Insert() {
        ColumnDefinition definition;
        definition.dataType = qxdbsqlengine::DataTypeLob;
        store->AddResultSet({definition}, qxdbsqlengine::ResultSetNormal);
        OpenCursor open = Open(LobRows({}, {}));
        qxdbsqlengine::LobDataStorageInserter inserter(&field, &*store, 0, 0, open.cursor, 0, "", 0, request);
        inserter.Insert();
    }
    CountingField field;
};

TEST_F(LobReadingTest, BlocksHave2048BytesAndTheLastOneTheRest) {
    SetLimit(5000);
    Insert();
    EXPECT_EQ(field.asked, (std::vector<unsigned int>{2048, 2048, 904}));
    EXPECT_EQ(Column(0), (Texts{std::string(5000, 'x')}));
}

TEST_F(LobReadingTest, BlockIsNotLargerThanTheLimit) {
    SetLimit(100);
    Insert();
    EXPECT_EQ(field.asked, (std::vector<unsigned int>{100}));
}

TEST_F(LobReadingTest, CancelIsHeededBetweenBlocks) {
    SetLimit(100000);
    field.onRead = [this] {
        if (field.asked.size() == 3)
            request.Cancel();
    };
    EXPECT_THROW(Insert(), qxdbsqlengine::CancelledException);
    EXPECT_EQ(field.asked.size(), 3u);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
}

TEST_F(LobReadingTest, CancelledRequestReadsNothing) {
    request.Cancel();
    EXPECT_THROW(Insert(), qxdbsqlengine::CancelledException);
    EXPECT_TRUE(field.asked.empty());
}

TEST_F(LobInserterTest, WideTextIsNarrowed) {
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "NCLOB", Wide}, Utf16(u"a\u00e4\u20ac\U0001F600")),
              "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST_F(LobInserterTest, WideTextWithAnOddByteIsReadToItsEnd) {
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "NCLOB", Wide}, Utf16(u"ab") + "c"), "abc");
}

TEST_F(LobInserterTest, LimitOfWideTextCountsCharacters) {
    SetLimit(3);
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "NCLOB", Wide}, Utf16(u"abcdef")), "abc");
    SetLimit(1500);  // more than one block
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "NCLOB", Wide}, Utf16(std::u16string(4000, u'w'))),
              std::string(1500, 'w'));
}

TEST_F(LobInserterTest, DoubleWidthTypesDoubleTheLimit) {
    const struct {
        LobColumn column;
        std::size_t expected;
    } cases[] = {
        {{qxdb::DBTYPE_SQLSERVER, "ntext"}, 6}, {{qxdb::DBTYPE_SQLSERVER, "text"}, 3},
        {{qxdb::DBTYPE_DB2, "CLOB"}, 6},        {{qxdb::DBTYPE_DB2, "LONG VARCHAR"}, 6},
        {{qxdb::DBTYPE_DB2, "VARCHAR"}, 3},     {{qxdb::DBTYPE_OTHER, "CLOB"}, 3},
        {{qxdb::DBTYPE_OTHER, "ntext"}, 3},     {{qxdb::DBTYPE_ORACLE, "CLOB"}, 3},
        {{qxdb::DBTYPE_DB2OS390, "CLOB"}, 3},   {{qxdb::DBTYPE_MYSQL, "LONG VARCHAR"}, 3},
    };
    SetLimit(3);
    for (const auto& one : cases) {
        EXPECT_EQ(Preview(one.column, "abcdefgh"), std::string("abcdefgh").substr(0, one.expected))
            << one.column.server << " " << one.column.typeName;
    }
}

TEST_F(LobInserterTest, WideTypesOfOracle) {
    const std::string wide = Utf16(u"ab");
    const struct {
        const char* typeName;
        unsigned int flags;
        const char* expected;
    } cases[] = {
        {"NCLOB", 2, "ab"},      {"CLOB", 3, "ab"},        {"CLOB", 16, "ab"},
        {"CLOB", 0, "a"},        {"LONG", 2, "a"},         {"BLOB", 2, "a"},
        {"BLOB", 1, "61006200"}, {"BFILE", 1, "61006200"},  // hexadecimal text is never taken for wide text
    };
    for (const auto& one : cases)
        EXPECT_EQ(Preview({qxdb::DBTYPE_ORACLE, one.typeName, one.flags}, wide), one.expected)
            << one.typeName << " " << one.flags;
    EXPECT_EQ(Preview({qxdb::DBTYPE_OTHER, "NCLOB", 2}, wide), "a");
}

TEST_F(LobInserterTest, ZerosOfDb2OnTheHostAreBlanks) {
    const std::string text("a\0b\0\0c", 6);
    EXPECT_EQ(Preview({qxdb::DBTYPE_DB2OS390, "CLOB"}, text), "a b  c");
    EXPECT_EQ(Preview({qxdb::DBTYPE_DB2OS390, "BLOB", Binary}, text), "610062000063");
    EXPECT_EQ(Preview({qxdb::DBTYPE_DB2, "CLOB"}, text), "a");
}

TEST_F(LobInserterTest, AsciiInABinaryColumnOfSybaseIsText) {
    const LobColumn image = {qxdb::DBTYPE_SYBASE, "image", Binary};
    EXPECT_EQ(Preview(image, "plain \x7F"), "plain \x7F");
    EXPECT_EQ(Preview(image, "plain \x80"), "706C61696E2080");
    EXPECT_EQ(Preview({qxdb::DBTYPE_SQLSERVER, "image", Binary}, "plain"), "706C61696E");
}

TEST_F(LobInserterTest, FirstBlockDecidesForABinaryColumnOfSybase) {
    const LobColumn image = {qxdb::DBTYPE_SYBASE, "image", Binary};
    const std::string ascii(2048, 'a');
    EXPECT_EQ(Preview(image, ascii + "\xFF"), ascii + "\xFF");
    // Each object of a column is judged by itself.
    EXPECT_EQ(Previews(image, {"abc", "\xFF", "abc"}), (Texts{"abc", "FF", "abc"}));
    SetLimit(2049);
    std::string hex;
    for (int i = 0; i < 2048; ++i)
        hex += "FF";
    EXPECT_EQ(Preview(image, std::string(2048, '\xFF') + "a"), hex + "61");
}

TEST_F(LobInserterTest, TextOfAUnicodeSybaseIsTriedAsUtf8) {
    const LobColumn text = {qxdb::DBTYPE_SYBASE, "text", 0, true};
    const std::string utf8 = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(Preview(text, utf8), utf8);
    EXPECT_EQ(Preview(text, Utf16(u"\u4e2d\u00ff")), "\xE4\xB8\xAD\xC3\xBF");  // not UTF-8: UTF-16 as it came
    EXPECT_EQ(Preview({qxdb::DBTYPE_SYBASE, "text", 0, false}, "a\xFF"), "a\xFF");
    EXPECT_EQ(Preview({qxdb::DBTYPE_SYBASE, "univarchar", 0, true}, "a\xFF"), "a\xFF");
}

TEST_F(LobInserterTest, CharactersAcrossBlocksStayWhole) {
    const LobColumn text = {qxdb::DBTYPE_SYBASE, "text", 0, true};
    const std::string euro = "\xE2\x82\xAC";
    for (const std::size_t before : {2045u, 2046u, 2047u, 2048u}) {
        const std::string utf8 = std::string(before, 'a') + euro + "z";
        EXPECT_EQ(Preview(text, utf8), utf8) << before;
    }
    const std::string smile = "\xF0\x9F\x98\x80";
    for (const std::size_t before : {2044u, 2045u, 2046u, 2047u}) {
        const std::string utf8 = std::string(before, 'a') + smile + "z";
        EXPECT_EQ(Preview(text, utf8), utf8) << before;
    }
}

TEST_F(LobInserterTest, AfterABlockThatIsNoUtf8TheRestIsTakenAsItComes) {
    // The second block alone could be read as UTF-8, but it goes on with what the first began.
    std::string expected;
    for (int i = 0; i < 1024; ++i)
        expected += "\xC3\xBF";
    const std::string object = Utf16(std::u16string(1024, u'\u00ff') + u"ab");
    EXPECT_TRUE(Preview({qxdb::DBTYPE_SYBASE, "text", 0, true}, object) == expected + "ab");
}

TEST_F(LobInserterTest, CharacterCutByTheLimitIsLeftAway) {
    SetLimit(2);  // four bytes
    EXPECT_EQ(Preview({qxdb::DBTYPE_SYBASE, "text", 0, true}, "ab\xE2\x82\xAC"), "ab");
}

TEST_F(LobInserterTest, WhatIsNoUtf8IsRefusedAsSuch) {
    // Each would come out as other text if it were taken for UTF-8; as UTF-16 it is one or two units.
    const LobColumn text = {qxdb::DBTYPE_SYBASE, "text", 0, true};
    const struct {
        const char* bytes;
        const char16_t* expected;
    } cases[] = {
        {"\xC0\x80", u"\u80C0"},                // overlong
        {"\xC1\xBF", u"\uBFC1"},                // overlong
        {"\xE0\x80\x80\x20", u"\u80E0\u2080"},  // overlong
        {"\xED\xA0\x80\x20", u"\uA0ED\u2080"},  // a surrogate
        {"\xF4\x90\x80\x80", u"\u90F4\u8080"},  // beyond Unicode
        {"\xF5\x80\x80\x80", u"\u80F5\u8080"},  // no lead byte
        {"\x80\x41", u"\u4180"},                // a continuation alone
        {"\xC3\x41", u"\u41C3"},                // no continuation
    };
    for (const auto& one : cases) {
        const std::string asWide = Preview({qxdb::DBTYPE_OTHER, "NCLOB", Wide}, Utf16(one.expected));
        EXPECT_EQ(Preview(text, one.bytes), asWide);
    }
}

// Locators.

struct LocatorCall {
    unsigned int field;
    std::string table;
    std::string sql;
    std::string where;
    bool specific;
};

class LocatorImp : public qxdb::LobLocatorImp {
  public:
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<LocatorImp>(); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(6, 6); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return true; }
    bool EditAsClob() const override { return true; }
    std::string TableName() const override { return ""; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
};

class LobLocatorTest : public LobInserterTest {
  protected:
    LobLocatorTest() {
        request.SetUseLobLocators(true);
        request.SetLobPreviewSize(10);
    }
    Result Located(std::vector<Cell> cells) {
        Result result = LobRows({}, std::move(cells));
        result.Locator([this](unsigned int field, const std::string& table, const std::string& sql,
                              const std::string& where, bool specific) {
            calls.push_back({field, table, sql, where, specific});
            return qxdb::LobLocator(new LocatorImp);
        });
        return result;
    }
    std::vector<LocatorCall> calls;
};

TEST_F(LobLocatorTest, EachRowAsksForItsLocatorByTheTable) {
    RunOver({}, Located({LobCell{"a", 0, false}, Null(), LobCell{"b", 0, false}}));
    // The column's own, then one for each object.
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].sql, "select lob from t");
    for (const std::size_t call : {1u, 2u}) {
        EXPECT_EQ(calls[call].field, 0u);
        EXPECT_EQ(calls[call].table, "t");
        EXPECT_EQ(calls[call].sql, "");
        EXPECT_EQ(calls[call].where, "");
        EXPECT_FALSE(calls[call].specific);
    }
    EXPECT_TRUE(store->GetUseLobLocators(0, 0));
}

TEST_F(LobLocatorTest, WithoutLocatorsNoneIsAskedFor) {
    SetLimit(10);
    RunOver({}, Located({LobCell{"a", 0, false}}));
    EXPECT_TRUE(calls.empty());
    EXPECT_FALSE(store->GetUseLobLocators(0, 0));
}

TEST_F(LobLocatorTest, SpecificLocatorsAreMeasuredBeforeTheRows) {
    request.SetUseSpecificLobLocatorImpl(true);
    RunOver({}, Located({}));
    ASSERT_EQ(calls.size(), 2u);  // the column's, and one to learn the length of its data
    EXPECT_EQ(calls[1].table, "t");
    EXPECT_EQ(calls[1].sql, "");
    EXPECT_EQ(calls[1].where, "");
    EXPECT_TRUE(calls[1].specific);
}

TEST_F(LobLocatorTest, TableNameIsThatOfTheStatement) {
    RunOver({}, Located({LobCell{"a", 0, false}}));
    server.Expect("select lob from other").Returns(Located({LobCell{"b", 0, false}}));
    calls.clear();
    Run(qxdb::DBTYPE_OTHER, "select lob from other");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].table, "other");
}

}  // namespace
}  // namespace qxtest
