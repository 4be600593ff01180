#include <stdexcept>

#include "request/request_fixture.h"

namespace qxtest {
namespace {

class TextTest : public RequestTest {
  protected:
    OpenRequest& With(const std::string& sql) {
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        return request;
    }
    std::string TableName(const std::string& sql) { return Fresh(sql)->ParseTableName(); }
    std::string Where(const std::string& sql) { return Fresh(sql)->ParseWhereClause(); }
    bool Single(const std::string& sql) { return Fresh(sql)->ContainsSingleSelectStmt(); }
    std::string InsertName(const std::string& sql) { return Fresh(sql)->ParseGenerateInsertTableName(); }
    // A request of its own for each text: answers are kept for the length of a statement.
    std::unique_ptr<OpenRequest> Fresh(const std::string& sql) {
        auto fresh = std::make_unique<OpenRequest>(
            notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
        fresh->SetSQL(sql, SQLRequest::RequestSQL, false, false);
        return fresh;
    }
};

struct TextCase {
    const char* sql;
    const char* expected;
};

TEST_F(TextTest, TableNameIsTheTextBehindFrom) {
    const TextCase cases[] = {
        {"select * from emp", "emp"},
        {"SELECT * FROM Emp", "Emp"},
        {"select * from   \r\n\t scott.emp", "scott.emp"},
        {"from emp", "emp"},
        {"select * from emp\nwhere a = 1", "emp"},
        {"select * from emp\r\nwhere a = 1", "emp"},
        {"select * from emp;", "emp"},
        {"select * from emp e", "emp e"},
        {"select * from emp e;", "emp e"},
        {"select * from\temp\n", "emp"},
        // The blank in front of the key word belongs to the name.
        {"select * from emp where a = 1", "emp "},
        {"select * from emp group by a", "emp "},
        {"select * from emp order by a", "emp "},
        // The first of the tests decides, not the nearest word.
        {"select * from emp order by where ", "emp order by "},
        {"select * from emp order by a group by b", "emp order by a "},
        // With a delimiter the name runs up to it.
        {"select * from emp where a = 1;", "emp where a = 1"},
    };
    for (const TextCase& c : cases)
        EXPECT_EQ(TableName(c.sql), c.expected) << c.sql;
}

TEST_F(TextTest, SeveralTablesHaveNoName) {
    const char* const cases[] = {
        "select a from t1, t2",        "select a from t1 x, t2 y",       "select a from t1\n, t2",
        "select a from t1\nx, t2",     "select a from t1\n x \n , t2 y", "select a from \"A;B\", t2",
        "select a from \"A;B\" x, t2", "select a from \"A,B\" , t2",
    };
    for (const char* const sql : cases)
        EXPECT_EQ(TableName(sql), "") << sql;
}

TEST_F(TextTest, DelimitersInsideQuotesBelongToTheName) {
    const TextCase cases[] = {
        {"select * from \"A;B\" where x=1", "\"A;B\""},
        {"select * from \"A,B\"", "\"A,B\""},
        {"select * from \"A,B\".\"c;d\"", "\"A,B\""},
        {"select * from \"A;B", "\"A"},
        {"select * from \"a b\";", "\"a b\""},
        {"select * from \"A;B\" where x in (1, 2)", "\"A;B\""},
    };
    for (const TextCase& c : cases)
        EXPECT_EQ(TableName(c.sql), c.expected) << c.sql;
}

TEST_F(TextTest, WhereBehindADelimiterIsNoAlias) {
    EXPECT_EQ(TableName("select * from emp\nwhere , x"), "emp");
    EXPECT_EQ(TableName("select * from emp\nx , y"), "");
    EXPECT_EQ(TableName("select * from emp\nwhere"), "emp");
}

TEST_F(TextTest, FromInsideAWordIsNotFound) {
    const char* const cases[] = {"select XFROMY a", "select XFROM a", "select FROMX a", "select a", "",
                                 "select (from t)", "select a from "};
    for (const char* const sql : cases)
        EXPECT_EQ(TableName(sql), "") << sql;
    EXPECT_EQ(TableName("select XFROM YFROM, from FROM b"), "FROM b");
}

TEST_F(TextTest, KeyWordAtTheEndOfTheTextThrows) {
    EXPECT_THROW(TableName("select a from"), std::out_of_range);
    EXPECT_THROW(TableName("select a from t where"), std::out_of_range);
    EXPECT_THROW(TableName("select a from t order by"), std::out_of_range);
    EXPECT_THROW(Single("select"), std::out_of_range);
    EXPECT_THROW(Single("select a, select"), std::out_of_range);
    // Not a word: nothing is looked for behind it.
    EXPECT_EQ(TableName("select xfrom"), "");
    EXPECT_FALSE(Single("xselect"));
}

TEST_F(TextTest, SingleSelect) {
    struct {
        const char* sql;
        bool expected;
    } const cases[] = {
        {"select * from t", true},
        {"  SeLeCt\t1", true},
        {"select\n*", true},
        {"select * from (select 1 from t)", false},
        {"select a from t where b in ( select 1 )", false},
        {"select 1 union select 2", false},
        {"(select 1)", true},
        {"insert into t values (1)", false},
        {"insert into t select * from u", true},
        {"selected a", false},
        {"select selected from t", true},
        {"select xselect , selectx from t", true},
        {"", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Single(c.sql), c.expected) << c.sql;
}

TEST_F(TextTest, GeneratedInsertsHaveATableOnlyForShortSingleSelects) {
    EXPECT_EQ(InsertName("select * from emp"), "emp");
    EXPECT_EQ(InsertName("select * from emp where a in (select 1 from t)"), "");
    EXPECT_EQ(InsertName("delete from emp"), "");

    const std::string head = "select ";
    const std::string tail = " from emp";
    const std::string longest = head + std::string(1024 - head.size() - tail.size(), 'x') + tail;
    const std::string tooLong = head + std::string(1025 - head.size() - tail.size(), 'x') + tail;
    ASSERT_EQ(longest.size(), 1024U);
    EXPECT_EQ(InsertName(longest), "emp");
    EXPECT_EQ(InsertName(tooLong), "");
    EXPECT_EQ(TableName(tooLong), "emp");
}

TEST_F(TextTest, WhereClauseRunsToTheEndOfTheText) {
    const TextCase cases[] = {
        {"select * from t where a = 1", "a = 1"},
        {"select * from t WHERE A = 'b' Order By c;", "A = 'b' Order By c;"},
        {"select * from t where a = 1\nand b = 2", "a = 1 and b = 2"},
        {"select * from t\nwhere\na\t=\r\n1", "a =  1"},
        {"select * from t where x where y", "x where y"},
        {"select * from t", ""},
        {"select * from t where ", ""},
        {"select * from t where", ""},
        {"select * from twhere a", ""},
        {"where a = 1", ""},
        {"select * from t where a = '\xC3\xA4\xC2\x85'", "a = '\xC3\xA4\xC2\x85'"},
        {"select * from t where a\x7F= 1", "a = 1"},
    };
    for (const TextCase& c : cases)
        EXPECT_EQ(Where(c.sql), c.expected) << c.sql;
}

TEST_F(TextTest, ControlCharactersBecomeOneBlankEach) {
    EXPECT_EQ(Where("select * from t where a =\r\n1"), "a =  1");
}

TEST_F(TextTest, AnswersAreKeptForTheStatement) {
    With("select * from emp where a = 1");
    EXPECT_EQ(request.ParseTableName(), "emp ");
    EXPECT_EQ(request.ParseWhereClause(), "a = 1");
    EXPECT_TRUE(request.ContainsSingleSelectStmt());
    With("select * from (select * from dept) where b = 2");
    EXPECT_EQ(request.ParseTableName(), "emp ");
    EXPECT_EQ(request.ParseWhereClause(), "a = 1");
    EXPECT_TRUE(request.ContainsSingleSelectStmt());

    request.NotifyBatchItemBegin();
    EXPECT_EQ(request.ParseWhereClause(), "a = 1");
    request.NotifyBatchItemEnd();
    EXPECT_EQ(request.ParseTableName(), "(select * from dept) ");
    EXPECT_EQ(request.ParseWhereClause(), "b = 2");
    EXPECT_FALSE(request.ContainsSingleSelectStmt());
}

TEST_F(TextTest, ARunForgetsTheAnswersOfTheLast) {
    server.Expect("select 1 from a");
    With("select 1 from before");
    EXPECT_EQ(request.ParseTableName(), "before");
    request.SetSQL("select 1 from a", SQLRequest::RequestSQL, false, false);
    request.handlerActions["PreExecuteStatement"] = [&] { EXPECT_EQ(request.ParseTableName(), "a"); };
    EXPECT_TRUE(request.Execute(Def()));
}

TEST_F(TextTest, TheGenericParserSettingPlaysNoPart) {
    request.SetUseGenericParser(false);
    With("select * from emp");
    EXPECT_EQ(request.ParseTableName(), "emp");
}

}  // namespace
}  // namespace qxtest
