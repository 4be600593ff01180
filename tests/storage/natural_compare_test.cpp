#include "storage/natural_compare.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "storage/storage_doubles.h"
#include "storage/string_storage.h"

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;

int Sign(int c) {
    return c < 0 ? -1 : c > 0 ? 1 : 0;
}

int Compare(const std::string& a, const std::string& b, int option) {
    return NaturalCompare(a.begin(), a.end(), b.begin(), b.end(), FoldTable::Current(), option);
}

TEST(NaturalCompareTest, Table) {
    const struct {
        const char* a;
        const char* b;
        int option0;
        int option1;
    } table[] = {
        {"", "", 0, 0},
        {"", "a", -1, -1},
        {"a", "A", 0, 0},
        {"File", "file", 0, 0},
        {"File1", "file2", -1, -1},
        {"a", "b", -1, -1},
        {"B", "a", 1, 1},
        {"a2", "a10", -1, 1},
        {"x9", "x10", -1, 1},
        {"X9", "X10", -1, 1},
        {"x9", "X10", -1, 1},
        {"007", "7", -1, -1},
        {"0", "00", -1, -1},  // one ends where the other goes on
        {"12", "2", 1, -1},
        {"1", "10", -1, -1},
        {"101", "110", -1, -1},
        {"110", "1000", -1, 1},
        {"101", "1000", 1, 1},  // the look back sees one digit only
        {"1a", "1A", 0, 0},
        {"1A", "1B", -1, -1},
        {"1a", "1B", 1, 1},  // behind a digit the bytes themselves count
        {"a1b", "a1", 1, 1},
        {"a", "\x80", 1, 1},  // bytes from 0x80 on are negative
        {"\x80", "\xFF", -1, -1},
        {"1", "a", -1, -1},
        {"a1", "aa", -1, -1},
        {"a01", "a1", -1, -1},
        {"a1", "a01", 1, 1},
    };
    for (const auto& each : table) {
        EXPECT_EQ(each.option0, Sign(Compare(each.a, each.b, 0))) << each.a << " " << each.b;
        EXPECT_EQ(each.option1, Sign(Compare(each.a, each.b, 1))) << each.a << " " << each.b;
        EXPECT_EQ(each.option0, -Sign(Compare(each.b, each.a, 0))) << each.b << " " << each.a;
    }
}

// The steps of the comparison once more, on whole strings and with indexes.
class Steps {
  public:
    explicit Steps(int compareOption) : option(compareOption) {}

    int Compare(const std::string& a, const std::string& b) const {
        std::size_t i = 0;
        for (;; ++i) {
            if (i == a.size())
                return i == b.size() ? 0 : -1;
            if (i == b.size())
                return 1;
            if (a[i] != b[i] && Lower(a[i]) != Lower(b[i]))
                break;
        }
        if (i > 0) {
            const std::string r = DigitsAt(a, i - 1);
            const std::string s = DigitsAt(b, i - 1);
            if (!r.empty() && !s.empty()) {
                const int c = Digits(r, s);
                if (c != 0)
                    return c;
                return static_cast<signed char>(a[i]) < static_cast<signed char>(b[i]) ? -1 : 1;
            }
        }
        const std::string r = DigitsAt(a, i);
        const std::string s = DigitsAt(b, i);
        if (!r.empty() && !s.empty())
            return Digits(r, s);
        return Lower(a[i]) < Lower(b[i]) ? -1 : 1;
    }

  private:
    static int Lower(char c) { return static_cast<signed char>(c >= 'A' && c <= 'Z' ? c + 32 : c); }
    static std::string DigitsAt(const std::string& text, std::size_t i) {
        const std::size_t end = text.find_first_not_of("0123456789", i);
        return text.substr(i, end == std::string::npos ? end : end - i);
    }
    int Digits(std::string r, std::string s) const {
        const int lr = static_cast<int>(r.size());
        const int ls = static_cast<int>(s.size());
        if (option == 0) {
            while (r.size() > s.size()) {
                if (r[0] != '0')
                    return 1;
                r.erase(0, 1);
            }
            while (s.size() > r.size()) {
                if (s[0] != '0')
                    return -1;
                s.erase(0, 1);
            }
        }
        for (std::size_t i = 0; i < r.size() && i < s.size(); ++i) {
            if (r[i] != s[i])
                return r[i] < s[i] ? -1 : 1;
        }
        if (lr - ls < 1)
            return lr == ls ? 0 : 1;
        return -1;
    }

    int option;
};

std::vector<std::string> AllTexts(const std::string& alphabet, std::size_t longest) {
    std::vector<std::string> texts = {""};
    for (std::size_t from = 0, length = 1; length <= longest; ++length) {
        const std::size_t to = texts.size();
        for (; from < to; ++from) {
            for (char c : alphabet)
                texts.push_back(texts[from] + c);
        }
    }
    return texts;
}

TEST(NaturalCompareTest, AllPairsOfShortTextsFollowTheSteps) {
    for (int option : {0, 1}) {
        const Steps steps(option);
        for (const auto& [alphabet, longest] : std::vector<std::pair<std::string, std::size_t>>{
                 {"019aAbB\x80\0"s, 3}, {"01", 6}, {"017x", 4}}) {
            const std::vector<std::string> texts = AllTexts(alphabet, longest);
            for (const std::string& a : texts) {
                for (const std::string& b : texts)
                    ASSERT_EQ(steps.Compare(a, b), Sign(Compare(a, b, option)))
                        << testing::PrintToString(a) << " " << testing::PrintToString(b);
            }
        }
    }
}

// In a column, where values cross chunks, pages and dropped views.
TEST(NaturalCompareTest, ColumnsCompareWhereTheBytesLie) {
    OpenAlloc alloc(0, 2, true);
    StringStorage column(alloc);
    std::mt19937 random(21);
    const std::string alphabet = "0012789aAbBzZ \x80\xE9"s;
    std::vector<std::string> texts;
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        if (i % 50 == 0)
            text.assign(900 + random() % 300, 'q');
        for (std::size_t length = random() % 12; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        texts.push_back(text);
        column.InsertString(text);
    }
    for (int n = 0; n < 60000; ++n) {
        const int i = static_cast<int>(random() % 20000) / (n % 2 ? 1 : 50) * (n % 2 ? 1 : 50);
        const int j = static_cast<int>(random() % 20000) / (n % 2 ? 1 : 50) * (n % 2 ? 1 : 50);
        const int option = static_cast<int>(n % 3 == 0);
        ASSERT_EQ(
            Steps(option).Compare(texts[static_cast<std::size_t>(i)], texts[static_cast<std::size_t>(j)]),
            Sign(column.CompareItems(i, j, option)));
    }
}

TEST(NaturalCompareTest, NamedTypesCompareAsTexts) {
    OpenAlloc alloc;
    NamedTypeStorage column(alloc);
    column.InsertString("x9");
    column.InsertString("X10");
    EXPECT_GT(0, column.CompareItems(0, 1, 0));
    EXPECT_LT(0, column.CompareItems(0, 1, 1));
}

TEST(FoldTableTest, FollowsTheDefaultLocale) {
    class Shifted : public std::ctype<char> {
        char do_tolower(char c) const override { return c == 'Q' ? '!' : c; }
        const char* do_tolower(char* from, const char* to) const override {
            for (; from != to; ++from)
                *from = do_tolower(*from);
            return to;
        }
    };
    EXPECT_EQ('q', FoldTable::Current()['Q']);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Shifted));
    EXPECT_EQ('!', FoldTable::Current()['Q']);
    std::locale::global(before);
    EXPECT_EQ('q', FoldTable::Current()['Q']);
    EXPECT_EQ(-128, FoldTable::Current()['\x80']);
}

}  // namespace
}  // namespace qxdbsqlengine
