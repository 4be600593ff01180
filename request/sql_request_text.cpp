// What is read out of the SQL text.
#include <string>
#include <string_view>

#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxutils::StringUtils;

constexpr std::size_t NotFound = std::string::npos;
constexpr std::size_t LongestGenerateInsertText = 1024;  // bytes
const char* const Blanks = " \r\n\t";
const char* const TableNameEnds = "\r\n;,";
const char* const WordEnds = " \r\n;,";
const std::string SelectWord = "SELECT";
const std::string FromWord = "FROM";
const std::string WhereWord = "WHERE";
const std::string WhereBetweenBlanks = " WHERE ";
const std::string GroupByWord = "GROUP BY";
const std::string OrderByWord = "ORDER BY";

bool IsBlank(char c) {
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

// First occurrence from `from` on that begins the text or stands behind a blank (or behind a parenthesis,
// where asked for) and has a blank behind it. Throws std::out_of_range when nothing stands behind it.
std::size_t FindWord(const std::string& upper, const std::string& word, std::size_t from,
                     bool alsoInParenthesis = false) {
    for (std::size_t at = upper.find(word, from); at != NotFound; at = upper.find(word, at + 1)) {
        const bool begins = at == 0 || IsBlank(upper[at - 1]) || (alsoInParenthesis && upper[at - 1] == '(');
        if (begins && IsBlank(upper.at(at + word.size())))
            return at;
    }
    return NotFound;
}

// Where the name ends in a text without a delimiter behind it: at the first of these that is there, not at
// the nearest.
std::size_t FindNameEnd(const std::string& upper, std::size_t begin) {
    for (const std::string* const word : {&WhereWord, &GroupByWord, &OrderByWord}) {
        const std::size_t at = FindWord(upper, *word, begin);
        if (at != NotFound)
            return at;
    }
    return upper.size();
}

// Moves a delimiter that stands inside a quoted name behind the closing quote.
std::size_t SkipQuotedName(const std::string& upper, std::size_t begin, std::size_t end) {
    bool inQuotes = false;
    for (std::size_t i = begin; i < end; ++i)
        inQuotes ^= upper[i] == '"';
    if (!inQuotes)
        return end;
    const std::size_t quote = upper.find('"', end);
    return quote == NotFound ? end : quote + 1;
}

// True when a further table follows the name that ends at `end`, with or without an alias in between.
bool AnotherTableFollows(const std::string& upper, std::size_t end) {
    const std::size_t next = upper.find_first_not_of(Blanks, end);
    if (next == NotFound)
        return false;
    if (upper[next] == ',')
        return true;
    const std::size_t wordEnd = upper.find_first_of(WordEnds, next);
    if (wordEnd == NotFound || upper.compare(next, wordEnd - next, WhereWord) == 0)
        return false;
    const std::size_t behind = upper.find_first_not_of(Blanks, wordEnd);
    return behind != NotFound && upper[behind] == ',';
}

}  // namespace

void SQLRequest::ResetTextCaches() {
    tableNameCache.clear();
    whereClauseCache.clear();
    selectChecked = false;
    singleSelect = false;
}

bool SQLRequest::ContainsSingleSelectStmt() {
    if (selectChecked)
        return singleSelect;
    selectChecked = true;
    singleSelect = false;
    std::string upper = GetSQL();
    StringUtils::StringUpper(upper);
    const std::size_t first = FindWord(upper, SelectWord, 0, true);
    if (first == NotFound)
        return false;
    singleSelect = true;
    if (FindWord(upper, SelectWord, first + SelectWord.size(), true) != NotFound)
        singleSelect = false;
    return singleSelect;
}

std::string SQLRequest::ParseGenerateInsertTableName() {
    if (GetSQL().size() > LongestGenerateInsertText || !ContainsSingleSelectStmt())
        return std::string();
    return ParseTableName();
}

std::string SQLRequest::ParseTableName() {
    if (!tableNameCache.empty())
        return tableNameCache;
    const std::string text = GetSQL();
    std::string upper = text;
    StringUtils::StringUpper(upper);

    const std::size_t from = FindWord(upper, FromWord, 0);
    if (from == NotFound)
        return tableNameCache;
    const std::size_t begin = upper.find_first_not_of(Blanks, from + FromWord.size());
    if (begin == NotFound)
        return tableNameCache;
    std::size_t end = upper.find_first_of(TableNameEnds, begin);
    if (end == NotFound) {
        end = FindNameEnd(upper, begin);
    } else {
        end = SkipQuotedName(upper, begin, end);
        if (AnotherTableFollows(upper, end)) {
            tableNameCache.clear();
            return tableNameCache;
        }
    }
    tableNameCache = text.substr(begin, end - begin);
    return tableNameCache;
}

std::string SQLRequest::ParseWhereClause() {
    if (!whereClauseCache.empty())
        return whereClauseCache;
    std::string text = GetSQL();
    for (char& c : text) {
        // Bytes of multi-byte characters are no control characters.
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = ' ';
    }
    const std::string::iterator found = StringUtils::find_nocase(text, WhereBetweenBlanks);
    if (found != text.end())
        whereClauseCache.assign(found + static_cast<std::ptrdiff_t>(WhereBetweenBlanks.size()), text.end());
    return whereClauseCache;
}

}  // namespace qxdbsqlengine
