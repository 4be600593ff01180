#include "scriptparser/block_stack.h"

#include <algorithm>
#include <utility>

#include "scriptparser/lexical_rules.h"

namespace qxscriptparser {

void BlockStack::Clear() {
    *this = BlockStack();
}

void BlockStack::OpenBlock() {
    open.push_back(Construct::Block);
    atStatement = true;
}

BlockStack::Word BlockStack::WordOf(std::string_view word) {
    static constexpr std::pair<std::string_view, Word> kWords[] = {
        {"BEGIN", Word::Begin}, {"NOT", Word::Not},         {"ATOMIC", Word::Atomic}, {"CASE", Word::Case},
        {"IF", Word::If},       {"LOOP", Word::Loop},       {"REPEAT", Word::Repeat}, {"WHILE", Word::While},
        {"FOR", Word::For},     {"DO", Word::Do},           {"THEN", Word::Then},     {"ELSE", Word::Else},
        {"UNTIL", Word::Until}, {"HANDLER", Word::Handler}, {"END", Word::End}};
    if (word.size() < 2 || word.size() > 7)
        return Word::None;
    for (const auto& [name, value] : kWords) {
        if (SameWord(word, name))
            return value;
    }
    return Word::None;
}

void BlockStack::Read(const Lexer& lexer, const Token& token) {
    if (token.IsComment())
        return;
    const bool wasAtStatement = std::exchange(atStatement, false);
    const bool wasAtLabel = std::exchange(atLabel, false);
    const bool wasBehindPoint = std::exchange(behindPoint, false);
    const bool wasEndOpen = std::exchange(endIsOpen, false);
    const bool isWord = token.kind == Token::Kind::Word;
    const Word word = isWord && !wasBehindPoint ? WordOf(lexer.View(token)) : Word::None;
    if (wasEndOpen)
        Close(word);
    if (isWord) {
        ReadWord(word, wasAtStatement, wasEndOpen);
        atLabel = wasAtStatement && word == Word::None;
    } else if (token.kind == Token::Kind::Quoted) {
        atLabel = wasAtStatement;
    } else {
        ReadSign(token.sign, wasAtLabel);
    }
}

void BlockStack::ReadSign(char sign, bool behindLabel) {
    switch (sign) {
        case '(':
            ++parentheses;
            break;
        case ')':
            parentheses -= parentheses != 0 ? 1 : 0;
            break;
        case '.':
            behindPoint = true;
            break;
        case ':':
            atStatement = behindLabel;
            break;
        case ';':
            atStatement = true;
            inHandler = false;
            behindUntil = false;
            parentheses = IsOpen() ? 0 : parentheses;  // none reaches over statements of a body
            break;
        default:
            break;
    }
}

void BlockStack::ReadWord(Word word, bool wasAtStatement, bool behindEnd) {
    const bool opens = wasAtStatement && !behindEnd;
    switch (word) {
        case Word::Begin:
            if (opens || (inHandler && parentheses == 0)) {
                OpenBlock();
                inHandler = false;
            }
            break;
        case Word::Not:
        case Word::Atomic:  // BEGIN NOT ATOMIC
            atStatement = wasAtStatement;
            break;
        case Word::Case:
            if (!behindEnd)
                open.push_back(opens ? Construct::CaseStatement : Construct::CaseExpression);
            break;
        case Word::If:
            if (opens)
                open.push_back(Construct::If);
            break;
        case Word::Loop:
        case Word::Repeat:
            if (opens)
                open.push_back(Construct::Loop);
            // PL/SQL: WHILE … LOOP
            atStatement = opens || (word == Word::Loop && !behindEnd && IsTop(Construct::Loop));
            break;
        case Word::While:
        case Word::For:
            if (opens)
                open.push_back(Construct::Loop);
            break;
        case Word::Do:
            atStatement = !wasAtStatement && IsTop(Construct::Loop);
            break;
        case Word::Then:
        case Word::Else:
            atStatement = !IsTop(Construct::CaseExpression);
            break;
        case Word::Until:
            behindUntil = wasAtStatement;
            break;
        case Word::Handler:
            inHandler = true;
            break;
        case Word::End:
            if (IsTop(Construct::CaseExpression))
                open.pop_back();
            else
                endIsOpen = wasAtStatement || behindUntil;
            break;
        case Word::None:
            break;
    }
}

// END and what stands behind it.
void BlockStack::Close(Word what) {
    behindUntil = false;
    if (what == Word::If)
        CloseTo(Construct::If);
    else if (what == Word::Case)
        CloseTo(Construct::CaseStatement);
    else if (what == Word::Loop || what == Word::Repeat || what == Word::While || what == Word::For)
        CloseTo(Construct::Loop);
    else
        CloseTo(Construct::Block);
}

// Closes the nearest one, and all inside it, but nothing outside the innermost block.
void BlockStack::CloseTo(Construct construct) {
    const auto limit =
        construct == Construct::Block ? open.rend() : std::find(open.rbegin(), open.rend(), Construct::Block);
    const auto found = std::find(open.rbegin(), limit, construct);
    if (found != limit)
        open.erase(found.base() - 1, open.end());
}

}  // namespace qxscriptparser
