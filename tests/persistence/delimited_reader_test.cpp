#include "persistence/delimited_reader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace qxdbsqlengine {
namespace {

using Records = std::vector<std::vector<std::string>>;

// Gives its bytes in pieces, so that a block ends at any place.
class PieceSource : public ByteSource {
  public:
    explicit PieceSource(std::string text) : bytes(std::move(text)) {}
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given = std::min(count, bytes.size() - position);
        std::memcpy(to, bytes.data() + position, given);
        position += given;
        return given;
    }

  private:
    std::string bytes;
    std::size_t position = 0;
};

Records ReadAll(const std::string& text, char separator = ',', bool quotes = true,
                std::size_t block = DelimitedReader::kBlock) {
    PieceSource source(text);
    DelimitedReader reader(source, block);
    reader.SetFormat(separator, quotes);
    reader.Start();
    Records records;
    std::vector<std::string> fields;
    while (reader.ReadRecord(fields))
        records.push_back(fields);
    EXPECT_TRUE(fields.empty());
    EXPECT_TRUE(reader.AtEnd());
    EXPECT_EQ(reader.Position(), static_cast<long long>(text.size()));
    reader.Release();
    EXPECT_EQ(reader.Position(), static_cast<long long>(text.size()));
    return records;
}

struct ReadCase {
    const char* name;
    std::string text;
    Records records;
};

const ReadCase kQuoted[] = {
    {"Empty", "", {}},
    {"OneLine", "a,b\r\n", {{"a", "b"}}},
    {"LineFeedOnly", "a,b\nc,d\n", {{"a", "b"}, {"c", "d"}}},
    {"NoLineEndAtEnd", "a,b\r\nc,d", {{"a", "b"}, {"c", "d"}}},
    {"FinalCarriageReturnAtEnd", "a,b\r", {{"a", "b"}}},
    {"CarriageReturnInside", "a\rb,c\r\n", {{"a\rb", "c"}}},
    {"TwoCarriageReturns", "a\r\r\n", {{"a\r"}}},
    {"EmptyLines", "\r\n\na\r\n\r\n", {{}, {}, {"a"}, {}}},
    {"LoneCarriageReturnIsAnEmptyLine", "\r", {{}}},
    {"EmptyFields", ",,\r\n", {{"", "", ""}}},
    {"SeparatorAtEnd", "a,", {{"a", ""}}},
    {"QuotedSeparator", "\"x,y\",z\r\n", {{"x,y", "z"}}},
    {"QuotedLineFeed", "\"a\nb\",c\r\n", {{"a\nb", "c"}}},
    {"QuotedCrLfStaysAsItStands", "\"a\r\nb\",c\r\n", {{"a\r\nb", "c"}}},
    {"QuotedCarriageReturn", "\"a\r\",c\r\n", {{"a\r", "c"}}},
    {"QuotedManyLines", "\"\n\n\n\"\r\nx\r\n", {{"\n\n\n"}, {"x"}}},
    {"DoubledQuoteInside", "\"a\"\"b\"\r\n", {{"a\"b"}}},
    {"OneQuoteAsWritten", "\"\"\"\"\r\n", {{"\""}}},
    {"DoubledAtBothEnds", "\"\"\"a\"\"\"\r\n", {{"\"a\""}}},
    {"FourInside", "\"a\"\"\"\"b\",c\r\n", {{"a\"\"b", "c"}}},
    {"FourInsideThenSeparator", "\"a\"\"\"\",b\",c\r\n", {{"a\"\",b", "c"}}},
    {"OtherQuoteInsideStandsForItself", "\"it's, it''s\"\r\n", {{"it's, it''s"}}},
    {"SingleQuotes", "'a,\"b\"',c\r\n", {{"a,\"b\"", "c"}}},
    {"SingleQuotesDoubled", "'it''s'\r\n", {{"it's"}}},
    {"OnlyTheOpeningQuoteCloses", "'a\",b'\r\n", {{"a\",b"}}},
    {"PairOutside", "p\"\"q\r\n", {{"p\"q"}}},
    {"PairAlone", "\"\"\r\n", {{"\""}}},
    {"PairAloneSingle", "a,'',b\r\n", {{"a", "'", "b"}}},
    {"PairThenTextIsNoOpening", "\"\"a,b\r\n", {{"\"a", "b"}}},
    {"TripleOutside", "p\"\"\"q\r\n", {{"p\"\"q"}}},
    {"FourOutside", "p\"\"\"\"q\r\n", {{"p\"\"\"q"}}},
    {"QuoteInTheMiddle", "p\"q,r\r\n", {{"p\"q", "r"}}},
    {"QuoteAtTheEnd", "p\"\r\n", {{"p\""}}},
    {"TextBehindClosing", "\"a\"b,c\r\n", {{"ab", "c"}}},
    {"QuoteBehindClosing", "\"a\"b\"c,d\r\n", {{"ab\"c", "d"}}},
    {"BlankBeforeQuoteStays", "a, \t\"b,c\"\r\n", {{"a", " \tb,c"}}},
    {"QuotedBlankThenQuote", "\" \"\"\",b\r\n", {{" \"", "b"}}},
    {"ReopenedAfterQuotedBlanks", "\" \" \"a,b\"\r\n", {{"  a,b"}}},
    {"OpenQuoteAtEnd", "a,\"b\r\nc", {{"a", "b\r\nc"}}},
    {"OpenQuoteAtEndWithLineEnd", "a,\"b\n", {{"a", "b\n"}}},
    {"OpenQuoteWithNothing", "a,\"", {{"a", ""}}},
    {"Nul", std::string("a\0b,\"c\0d\"\r\n", 11), {{std::string("a\0b", 3), std::string("c\0d", 3)}}},
    {"HighBytes", "\xC3\xA4,\xFF\r\n", {{"\xC3\xA4", "\xFF"}}},
    {"ByteOrderMark",
     "\xEF\xBB\xBF"
     "a,b\r\n",
     {{"a", "b"}}},
    {"ByteOrderMarkBeforeQuote", "\xEF\xBB\xBF\"a,b\"\r\n", {{"a,b"}}},
    {"ByteOrderMarkAlone", "\xEF\xBB\xBF", {}},
    {"HalfAByteOrderMark", "\xEF\xBB", {{"\xEF\xBB"}}},
    {"ByteOrderMarkLaterIsText",
     "a\r\n\xEF\xBB\xBF"
     "b\r\n",
     {{"a"},
      {"\xEF\xBB\xBF"
       "b"}}},
    {"Blanks", " a , b \r\n", {{" a ", " b "}}},
};

class QuotedRecords : public ::testing::TestWithParam<ReadCase> {};

TEST_P(QuotedRecords, AreSplit) {
    EXPECT_EQ(ReadAll(GetParam().text), GetParam().records);
}

INSTANTIATE_TEST_SUITE_P(Table, QuotedRecords, ::testing::ValuesIn(kQuoted),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(DelimitedReaderTest, WithoutQuotesEveryQuoteIsText) {
    EXPECT_EQ(ReadAll("\"a,b\",''\r\n'\n", ',', false), (Records{{"\"a", "b\"", "''"}, {"'"}}));
}

TEST(DelimitedReaderTest, OtherSeparators) {
    EXPECT_EQ(ReadAll("a\tb,c\t\"d\te\"\r\n", '\t'), (Records{{"a", "b,c", "d\te"}}));
    EXPECT_EQ(ReadAll("a|\"b|c\"\r\n", '|'), (Records{{"a", "b|c"}}));
    EXPECT_EQ(ReadAll(std::string("a\0b\n", 4), '\0'), (Records{{"a", "b"}}));
    EXPECT_EQ(ReadAll("a\xA7"
                      "b\n",
                      '\xA7'),
              (Records{{"a", "b"}}));
    EXPECT_EQ(ReadAll("a\rb\r\nc", '\r'), (Records{{"a", "b"}, {"c"}}));
}

TEST(DelimitedReaderTest, AQuoteThatSeparatesDoesNotQuote) {
    EXPECT_EQ(ReadAll("a\"'b\"c'\"d\r\n", '"'), (Records{{"a", "b\"c", "d"}}));
    EXPECT_EQ(ReadAll("a'\"b'c\"'d\r\n", '\''), (Records{{"a", "b'c", "d"}}));
}

TEST(DelimitedReaderTest, BlocksMayEndAnywhere) {
    // One megabyte is a block: every record below is moved over its end byte by byte.
    const std::string tail = "x\"\"\"y,\"a\"\"b\r\nc\",'q',\r\n\r\nlast\r\n";
    const Records expected = ReadAll(tail);
    ASSERT_EQ(expected, (Records{{"x\"\"y", "a\"b\r\nc", "q", ""}, {}, {"last"}}));
    for (std::size_t shift = 0; shift <= tail.size(); ++shift) {
        const std::string filler(1024 * 1024 - 1 - shift, 'f');
        Records records = ReadAll(filler + "\n" + tail);
        ASSERT_EQ(records.size(), expected.size() + 1) << shift;
        ASSERT_EQ(records.front(), std::vector<std::string>{filler});
        records.erase(records.begin());
        ASSERT_EQ(records, expected) << shift;
    }
}

TEST(DelimitedReaderTest, AFieldMayBeMuchLongerThanABlock) {
    std::string huge(5 * 1024 * 1024 + 17, 'h');
    for (std::size_t i = 0; i < huge.size(); i += 1000)
        huge[i] = '\n';
    EXPECT_EQ(ReadAll("\"" + huge + "\",b\r\n"), (Records{{huge, "b"}}));
    std::replace(huge.begin(), huge.end(), '\n', ' ');
    EXPECT_EQ(ReadAll(huge + ",b\r\n"), (Records{{huge, "b"}}));
}

TEST(DelimitedReaderTest, TellsLinesAndPositions) {
    PieceSource source(
        "\xEF\xBB\xBF"
        "a\r\n\"b\nb\nb\",c\r\n\r\nd\n");
    DelimitedReader reader(source);
    reader.Start();
    std::vector<std::string> fields;
    struct {
        long long line;
        long long position;
    } expected[] = {{1, 6}, {2, 17}, {5, 19}, {6, 21}};
    for (const auto& record : expected) {
        ASSERT_TRUE(reader.ReadRecord(fields));
        EXPECT_EQ(reader.RecordLine(), record.line);
        EXPECT_EQ(reader.Position(), record.position);
    }
    EXPECT_FALSE(reader.ReadRecord(fields));
    EXPECT_FALSE(reader.ReadRecord(fields));
    EXPECT_EQ(reader.UnclosedQuoteLine(), 0);
}

TEST(DelimitedReaderTest, TellsWhereAnOpenQuoteBegan) {
    PieceSource source("a\n\"b\"\n\"c\nc\",\"d\ne\n");
    DelimitedReader reader(source);
    reader.Start();
    std::vector<std::string> fields;
    while (reader.ReadRecord(fields)) {
    }
    EXPECT_EQ(reader.UnclosedQuoteLine(), 4);
}

TEST(DelimitedReaderTest, ManyReopenedBlankQuotesTakeLinearTime) {
    std::string text;
    for (int i = 0; i < 1000000; ++i)
        text += "\" \" ";
    const Records records = ReadAll(text);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], std::vector<std::string>{std::string(2000000, ' ')});
}

}  // namespace
}  // namespace qxdbsqlengine
