#include "storage/cell_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <sstream>

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;

class Punctuation : public std::numpunct<char> {
  public:
    Punctuation(char pointChar, char separator, std::string groups)
        : point(pointChar), thousands(separator), sizes(std::move(groups)) {}

  protected:
    char do_decimal_point() const override { return point; }
    char do_thousands_sep() const override { return thousands; }
    std::string do_grouping() const override { return sizes; }

  private:
    char point;
    char thousands;
    std::string sizes;
};

// Writes numbers in its own way.
class Brackets : public std::num_put<char> {
  protected:
    iter_type do_put(iter_type out, std::ios_base&, char_type, long value) const override {
        return Write(out, value);
    }
    iter_type do_put(iter_type out, std::ios_base&, char_type, long long value) const override {
        return Write(out, value);
    }

  private:
    static iter_type Write(iter_type out, long long value) {
        for (char c : "[" + std::to_string(value) + "]")
            *out++ = c;
        return out;
    }
};

std::string ByStream(const std::locale& locale, __int64 value) {
    std::stringstream stream;
    stream.imbue(locale);
    stream << value;
    return stream.str();
}

TEST(CellFormatTest, ViewsAreTheTextsOfTheStream) {
    const std::locale classic = std::locale::classic();
    for (const std::locale& locale :
         {classic, std::locale(classic, new Punctuation(',', '.', "\3")),
          std::locale(classic, new Punctuation(',', '.', "")), std::locale(classic, new Brackets)}) {
        const CellFormat format(locale);
        for (__int64 value : {__int64{0}, __int64{-7}, __int64{1234567}, std::numeric_limits<__int64>::min(),
                              std::numeric_limits<__int64>::max()})
            for (std::string buffer : {std::string(), std::string(100, 'x')})
                EXPECT_EQ(ByStream(locale, value), format.ViewInteger(value, buffer));
    }
}

TEST(CellFormatTest, ClassicHasNoGroups) {
    const CellFormat& format = CellFormat::Classic();
    EXPECT_TRUE(format.IsClassic());
    EXPECT_EQ('.', format.DecimalPoint());
    EXPECT_TRUE(format.GetLocale() == std::locale::classic());
    std::string text = "x";
    format.AppendInteger(-1234567, text);
    EXPECT_EQ("x-1234567", text);
}

TEST(CellFormatTest, GroupsAreThoseOfTheStream) {
    const std::string groupings[] = {"",
                                     "\3",
                                     "\1",
                                     "\2",
                                     "\3\2",
                                     "\2\3\1",
                                     "\10",
                                     "\1\0",
                                     "\3\0\2"s,
                                     "\0"s,
                                     std::string(1, CHAR_MAX),
                                     std::string("\2") + static_cast<char>(CHAR_MAX),
                                     std::string("\3\xFF")};
    for (const std::string& grouping : groupings) {
        const std::locale locale(std::locale::classic(), new Punctuation(',', '.', grouping));
        const CellFormat format(locale);
        EXPECT_FALSE(format.IsClassic());
        EXPECT_EQ(',', format.DecimalPoint());
        for (__int64 value : {0LL, 1LL, -1LL, 12LL, 123LL, -123LL, 1234LL, -1234LL, 99999LL, 1234567LL,
                              -1234567LL, 1234567890123LL, std::numeric_limits<long long>::max(),
                              std::numeric_limits<long long>::min()}) {
            std::string text;
            format.AppendInteger(value, text);
            EXPECT_EQ(ByStream(locale, value), text) << testing::PrintToString(grouping);
        }
    }
}

TEST(CellFormatTest, LocaleThatWritesNumbersItselfIsAsked) {
    const std::locale locale(std::locale::classic(), new Brackets);
    const CellFormat format(locale);
    std::string text;
    format.AppendInteger(-42, text);
    EXPECT_EQ("[-42]", text);
    EXPECT_EQ(ByStream(locale, -42), text);
}

}  // namespace
}  // namespace qxdbsqlengine
