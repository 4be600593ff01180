#include "drivers/odbc/sql_scan.h"

#include <algorithm>
#include <cctype>

namespace qxdrivers::odbc {

namespace {

bool IsBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool IsWordCharacter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '$' || c == '@' || c == '#' || byte >= 0x80;
}

char Upper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

std::string Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

std::string WithDoubled(const std::string& text, char quote) {
    std::string doubled(1, quote);
    for (const char c : text) {
        doubled.append(c == quote ? 2 : 1, c);
    }
    return doubled + quote;
}

}  // namespace

bool SqlToken::IsWord(std::string_view upper) const {
    return kind == Word && text.size() == upper.size() &&
           std::equal(text.begin(), text.end(), upper.begin(),
                      [](char mine, char wanted) { return Upper(mine) == wanted; });
}

SqlToken SqlScanner::Take(SqlToken::Kind kind, std::size_t end) {
    SqlToken token;
    token.kind = kind;
    token.begin = at;
    token.end = std::min(end, text.size());
    token.text = text.substr(token.begin, token.end - token.begin);
    at = token.end;
    return token;
}

bool SqlScanner::StartsLineComment() const {
    if (family == Family::MySQL && text[at] == '#') {
        return true;
    }
    if (text.compare(at, 2, "--") != 0) {
        return false;
    }
    // MySQL wants a blank behind: 5--3 is a number less another.
    return family != Family::MySQL || at + 2 >= text.size() || IsBlank(text[at + 2]);
}

void SqlScanner::SkipBlockComment() {
    int depth = 1;
    at += 2;
    while (at < text.size() && depth > 0) {
        if (text.compare(at, 2, "*/") == 0) {
            --depth;
            at += 2;
        } else if (family == Family::PostgreSQL && text.compare(at, 2, "/*") == 0) {
            ++depth;
            at += 2;
        } else {
            ++at;
        }
    }
    at = std::min(at, text.size());
}

void SqlScanner::SkipBlank() {
    while (at < text.size()) {
        if (IsBlank(text[at])) {
            ++at;
        } else if (StartsLineComment()) {
            at = std::min(text.find('\n', at), text.size());
        } else if (text.compare(at, 2, "/*") == 0) {
            SkipBlockComment();
        } else {
            return;
        }
    }
}

// Behind the quote that closes the one at `begin`.
std::size_t SqlScanner::QuoteEnd(std::size_t begin, char quote, bool escapes) const {
    for (std::size_t i = begin + 1; i < text.size(); ++i) {
        if (escapes && text[i] == '\\') {
            ++i;
        } else if (text[i] == quote) {
            if (i + 1 >= text.size() || text[i + 1] != quote) {
                return i + 1;
            }
            ++i;
        }
    }
    return text.size();
}

// Behind $tag$...$tag$; `begin` itself where no such quote begins there.
std::size_t SqlScanner::DollarQuoteEnd(std::size_t begin) const {
    std::size_t tagEnd = begin + 1;
    while (tagEnd < text.size() && text[tagEnd] != '$' && IsWordCharacter(text[tagEnd])) {
        ++tagEnd;
    }
    const bool isNumber =
        begin + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[begin + 1])) != 0;
    if (isNumber || tagEnd >= text.size() || text[tagEnd] != '$') {
        return begin;
    }
    const std::string_view tag = text.substr(begin, tagEnd + 1 - begin);
    const std::size_t close = text.find(tag, tagEnd + 1);
    return close == std::string_view::npos ? text.size() : close + tag.size();
}

SqlToken SqlScanner::Next() {
    SkipBlank();
    if (at >= text.size()) {
        return Take(SqlToken::End, text.size());
    }
    const char c = text[at];
    const bool mySql = family == Family::MySQL;
    const bool postgres = family == Family::PostgreSQL;
    if (postgres && (c == 'E' || c == 'e') && at + 1 < text.size() && text[at + 1] == '\'') {
        return Take(SqlToken::Quoted, QuoteEnd(at + 1, '\'', true));
    }
    if (c == '\'' || c == '"') {
        return Take(SqlToken::Quoted, QuoteEnd(at, c, mySql));
    }
    if (mySql && c == '`') {
        return Take(SqlToken::Quoted, QuoteEnd(at, c, false));
    }
    if (c == '[' && (family == Family::SQLServer || family == Family::Sybase)) {
        return Take(SqlToken::Quoted, QuoteEnd(at, ']', false));
    }
    if (postgres && c == '$') {
        const std::size_t end = DollarQuoteEnd(at);
        if (end > at) {
            return Take(SqlToken::Quoted, end);
        }
    }
    if (IsWordCharacter(c)) {
        std::size_t end = at;
        while (end < text.size() && IsWordCharacter(text[end])) {
            ++end;
        }
        return Take(SqlToken::Word, end);
    }
    switch (c) {
        case '?':
            return Take(SqlToken::Marker, at + 1);
        case ';':
            return Take(SqlToken::Semicolon, at + 1);
        case '(':
            return Take(SqlToken::Open, at + 1);
        case ')':
            return Take(SqlToken::Close, at + 1);
        case ',':
            return Take(SqlToken::Comma, at + 1);
        default:
            return Take(SqlToken::Other, at + 1);
    }
}

std::string FirstWord(const std::string& sql, Family family) {
    SqlScanner scanner(sql, family);
    const SqlToken token = scanner.Next();
    std::string word(token.kind == SqlToken::Word ? token.text : std::string_view());
    std::transform(word.begin(), word.end(), word.begin(), Upper);
    return word;
}

bool HasWord(const std::string& sql, Family family, std::initializer_list<std::string_view> words) {
    SqlScanner scanner(sql, family);
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        if (std::any_of(words.begin(), words.end(),
                        [&](std::string_view word) { return token.IsWord(word); })) {
            return true;
        }
    }
    return false;
}

namespace {

// The arguments between the parenthesis that the scanner just read and the one that closes it.
std::vector<std::string> ReadArguments(const std::string& sql, SqlScanner& scanner, std::size_t begin) {
    std::vector<std::string> arguments;
    int depth = 0;
    bool any = false;
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        const bool closes = token.kind == SqlToken::Close && depth == 0;
        if (closes || (token.kind == SqlToken::Comma && depth == 0)) {
            if (any || !closes) {
                arguments.push_back(Trimmed(std::string_view(sql).substr(begin, token.begin - begin)));
            }
            begin = token.end;
            any = any || !closes;
            if (closes) {
                break;
            }
            continue;
        }
        any = true;
        depth += token.kind == SqlToken::Open ? 1 : token.kind == SqlToken::Close ? -1 : 0;
    }
    return arguments;
}

}  // namespace

CallText ParseCall(const std::string& sql, Family family) {
    CallText call;
    SqlScanner scanner(sql, family);
    SqlToken token = scanner.Next();
    if (token.kind == SqlToken::Other && token.text == "{") {
        token = scanner.Next();
    }
    if (token.kind == SqlToken::Marker) {
        call.hasReturnValue = true;
        token = scanner.Next();
        if (token.kind != SqlToken::Other || token.text != "=") {
            return CallText();
        }
        token = scanner.Next();
    }
    if (!token.IsWord("CALL")) {
        return CallText();
    }
    const std::size_t nameBegin = token.end;
    std::size_t nameEnd = nameBegin;
    for (token = scanner.Next(); token.kind == SqlToken::Word || token.kind == SqlToken::Quoted ||
                                 (token.kind == SqlToken::Other && token.text == ".");
         token = scanner.Next()) {
        nameEnd = token.end;
    }
    call.isCall = true;
    call.name = Trimmed(std::string_view(sql).substr(nameBegin, nameEnd - nameBegin));
    if (token.kind == SqlToken::Open) {
        call.arguments = ReadArguments(sql, scanner, token.end);
    }
    return call;
}

std::vector<std::string> SplitName(const std::string& name, Family family) {
    std::vector<std::string> parts;
    SqlScanner scanner(name, family);
    bool joined = false;
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        if (token.kind == SqlToken::Semicolon) {
            break;  // "proc;2" is a number of SQL Server and Sybase
        }
        if (token.kind == SqlToken::Other && token.text == ".") {
            joined = false;
            continue;
        }
        std::string part(token.text);
        if (token.kind == SqlToken::Quoted && part.size() >= 2) {
            const char close = part.back();
            std::string plain;
            for (std::size_t i = 1; i + 1 < part.size(); ++i) {
                plain += part[i];
                i += part[i] == close && part[i + 1] == close ? 1 : 0;
            }
            part = plain;
        } else if (family == Family::PostgreSQL) {
            std::transform(part.begin(), part.end(), part.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        }
        if (joined) {
            parts.back() += part;
        } else {
            parts.push_back(part);
        }
        joined = true;
    }
    return parts;
}

std::string QuoteName(const std::string& name, const ServerTraits& traits) {
    if (traits.identifierQuote.empty()) {
        return name;
    }
    return WithDoubled(name, traits.identifierQuote.front());
}

std::string QuoteLiteral(const std::string& text, const ServerTraits& traits) {
    if (traits.family != Family::MySQL) {
        return WithDoubled(text, '\'');
    }
    std::string escaped;
    for (const char c : text) {
        escaped.append(c == '\\' ? 2 : 1, c);
    }
    return WithDoubled(escaped, '\'');
}

}  // namespace qxdrivers::odbc
