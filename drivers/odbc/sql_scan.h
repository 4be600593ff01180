// Just enough of SQL to tell words and parameter markers from what stands in quotes and comments.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "drivers/odbc/server_traits.h"

namespace qxdrivers::odbc {

struct SqlToken {
    enum Kind { End, Word, Quoted, Marker, Semicolon, Open, Close, Comma, Other };

    Kind kind = End;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string_view text;

    // `upper` in capitals; the word may be in any case.
    bool IsWord(std::string_view upper) const;
};

// Reads a text token by token, in the quoting rules of a family. A quote or comment that is never closed
// reaches to the end. The text must outlive the scanner and its tokens.
class SqlScanner {
  public:
    SqlScanner(std::string_view sql, Family dialect) : text(sql), family(dialect) {}
    SqlToken Next();

  private:
    void SkipBlank();
    void SkipBlockComment();
    std::size_t QuoteEnd(std::size_t begin, char quote, bool escapes) const;
    std::size_t DollarQuoteEnd(std::size_t begin) const;
    bool StartsLineComment() const;
    SqlToken Take(SqlToken::Kind kind, std::size_t end);

    const std::string_view text;
    const Family family;
    std::size_t at = 0;
};

// The first word of a text, in capitals.
std::string FirstWord(const std::string& sql, Family family);

// True when one of the words, in capitals, stands in the text outside of quotes and comments.
bool HasWord(const std::string& sql, Family family, std::initializer_list<std::string_view> words);

// A call in the escape syntax or in the server's own: {? = call name(...)}, {call name(...)}, call name(...).
struct CallText {
    bool isCall = false;
    bool hasReturnValue = false;
    std::string name;                    // as it stands, quotes and all
    std::vector<std::string> arguments;  // trimmed; "?" is a parameter
};
CallText ParseCall(const std::string& sql, Family family);

// A name of one or more parts, such as "my schema"."my proc", without the quotes.
std::vector<std::string> SplitName(const std::string& name, Family family);

// A name in the quotes of the server.
std::string QuoteName(const std::string& name, const ServerTraits& traits);

// A text literal; only for what cannot be a parameter.
std::string QuoteLiteral(const std::string& text, const ServerTraits& traits);

}  // namespace qxdrivers::odbc
