// What is written comes back: random tables with fixed seeds.
#include <random>

#include "persistence/ascii_persistence.h"
#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

using Table = std::vector<std::vector<std::string>>;

std::string RandomValue(std::mt19937& random, const std::string& letters, std::size_t longest) {
    std::string value(random() % (longest + 1), ' ');
    for (char& byte : value)
        byte = letters[random() % letters.size()];
    return value;
}

// What a value comes back as: CR LF is LF, a lone CR is a blank, a tab is four blanks when expanded.
std::string Expected(const std::string& value, bool expandTabs) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\r')
            text += i + 1 < value.size() && value[i + 1] == '\n' ? "" : " ";
        else if (value[i] == '\t' && expandTabs)
            text += "    ";
        else
            text += value[i];
    }
    return text;
}

// A field that is written bare is read by the rules for bare fields: a quote behind leading blanks or a
// single quote at the beginning opens a quoted field, and a pair in the middle becomes one. Such values are
// left out.
bool ComesBackBare(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\v\f");
    if (first != std::string::npos && (text[first] == '\'' || text[first] == '"'))
        return false;
    return text.find("\"\"") == std::string::npos && text.find("''") == std::string::npos;
}

struct RoundTripCase {
    ResultFileType type;
    char delimiter;
    bool expandTabs;
    unsigned seed;
};

class RoundTrip : public PersistenceTest, public ::testing::WithParamInterface<RoundTripCase> {};

TEST_P(RoundTrip, RandomTablesComeBackEqual) {
    const RoundTripCase c = GetParam();
    std::mt19937 random(c.seed);
    const std::string letters = std::string("abc 019,|;\"'\t\r\n") + '\0' + "\xC3\xA4\x80\xFF\x01";
    std::atomic<bool> noCancel{false};
    AsciiPersistence encoder(c.type, noCancel);
    encoder.SetDelimiter(c.delimiter);
    encoder.SetExpandTabs(c.expandTabs);
    std::vector<Table> expected;
    int quotedValues = 0;
    for (int resultSet = 0; resultSet < 8; ++resultSet) {
        const std::size_t columns = 2 + random() % 6;
        std::vector<std::string> labels(columns);
        for (std::size_t i = 0; i < columns; ++i)
            labels[i] = "c" + std::to_string(i);
        std::vector<Row> rows(random() % 200);
        Table table;
        for (Row& row : rows) {
            table.emplace_back();
            for (std::size_t i = 0; i < columns; ++i) {
                std::string value;
                std::string field;
                do {
                    value = RandomValue(random, letters, random() % 3 == 0 ? 40 : 6);
                    field = encoder.EncodeValue(value);
                } while (field == Expected(value, c.expandTabs) && !ComesBackBare(field));
                quotedValues += field != Expected(value, c.expandTabs);
                const bool null = random() % 10 == 0;
                row.push_back(null ? Cell() : Cell(value));
                table.back().push_back(null ? "" : Expected(value, c.expandTabs));
            }
        }
        AddTextResultSet(*store, labels, rows);
        expected.push_back(table);
    }
    EXPECT_GT(quotedValues, 100);
    const auto settings = [&c](Persistence& p) {
        p.SetDelimiter(c.delimiter);
        p.SetExpandTabs(c.expandTabs);
    };
    WriteAll(c.type, settings);
    const SmartPtr<DataStorage> source = store;
    store = NewStore();
    Persistence persistence(c.type, cancel, &callback, store);
    settings(persistence);
    persistence.SetFileName(file.c_str());
    ASSERT_TRUE(persistence.ReadAllResultSets());
    EXPECT_TRUE(callback.records.empty());
    ASSERT_EQ(store->GetNumberOfResultSets(), 8);
    for (int resultSet = 0; resultSet < 8; ++resultSet) {
        EXPECT_EQ(Labels(*store, resultSet), Labels(*source, resultSet)) << resultSet;
        EXPECT_EQ(Cells(*store, resultSet), expected[resultSet]) << resultSet;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTrip,
                         ::testing::Values(RoundTripCase{ResultFileComma, ',', true, 1},
                                           RoundTripCase{ResultFileComma, ',', false, 2},
                                           RoundTripCase{ResultFilePipe, '|', true, 3},
                                           RoundTripCase{ResultFilePipe, '|', false, 4},
                                           RoundTripCase{ResultFileComma, ';', false, 5},
                                           RoundTripCase{ResultFileComma, '\t', false, 6},
                                           RoundTripCase{ResultFileComma, '\0', true, 7}));

using StatedRoundTrip = PersistenceTest;

TEST_F(StatedRoundTrip, LineBreaksNullsAndQuotes) {
    AddTextResultSet(*store, {"A", "B"},
                     {{"a\nb", "c\r\nd"}, {Cell(), ""}, {"\"", "\"\""}, {"\"\"\"\"x", ",\"\",\"\"\"\",'',"}});
    WriteAll(ResultFileComma);
    store = NewStore();
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    ASSERT_TRUE(persistence.ReadAllResultSets());
    EXPECT_EQ(Cells(*store, 0),
              (Table{{"a\nb", "c\nd"}, {"", ""}, {"\"", "\"\""}, {"\"\"\"\"x", ",\"\",\"\"\"\",'',"}}));
    EXPECT_FALSE(store->IsNull(0, 1, 0));
}

// With quoting off on both ways every byte but line ends, delimiters and tabs comes back.
TEST_F(StatedRoundTrip, QuotesWithoutQuotingLogic) {
    AddTextResultSet(*store, {"A", "B"}, {{"'a", "p\"\"q"}, {" \"x", "''"}});
    const auto off = [](Persistence& p) { p.SetUseQuotingLogic(false); };
    WriteAll(ResultFileTab, off);
    store = NewStore();
    Persistence persistence(ResultFileTab, cancel, &callback, store);
    off(persistence);
    persistence.SetFileName(file.c_str());
    ASSERT_TRUE(persistence.ReadAllResultSets());
    EXPECT_EQ(Cells(*store, 0), (Table{{"'a", "p\"\"q"}, {" \"x", "''"}}));
}

}  // namespace
}  // namespace qxdbsqlengine
