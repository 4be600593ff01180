#include "scriptparser/splitter.h"

namespace qxscriptparser {

namespace {

constexpr std::string_view kDataCopy = "DATACOPY";

bool IsDataCopy(std::string_view statement) {
    const std::size_t size = kDataCopy.size();
    if (statement.size() < size || !SameWord(statement.substr(0, size), kDataCopy))
        return false;
    return statement.size() == size || IsBlank(statement[size]);
}

bool MayBeCall(char first) {
    return first == 'E' || first == 'e' || first == 'C' || first == 'c';
}

}  // namespace

Splitter::Splitter(ScriptText& newText, const SplitterRules& newRules, ItemSink& newSink)
    : text(newText), lexer(newText, newRules.lexical), rules(newRules), sink(newSink) {}

void Splitter::HandOn(const Mark& begin, Position end, Position behind, Use use) {
    Item item;
    item.text = TrimRight(text.View(begin.position, end));
    if (item.text.empty())
        return;
    item.line = begin.line;
    item.endOffset = text.OffsetOf(behind);
    item.skip = use == Use::Skip;
    if (!item.skip) {
        item.isProcedureCall = MayBeCall(item.text.front()) && IsBindable(item.text);
        item.isDataCopy = IsDataCopy(item.text);
    }
    Put(item);
}

void Splitter::HandOnInstead(std::string_view newText, const Mark& begin, Position behind) {
    Item item;
    item.text = newText;
    item.line = begin.line;
    item.endOffset = text.OffsetOf(behind);
    Put(item);
}

void Splitter::Put(Item& item) {
    if (Done())
        return;
    if (clientEnded) {
        item.skip = true;
        item.isProcedureCall = false;
        item.isDataCopy = false;
    }
    sinkIsFull = !sink.Put(item);
}

void StatementSplitter::Run() {
    while (BeginItem()) {
        if (!TakeCommand())
            TakeStatement();
    }
}

bool StatementSplitter::BeginItem() {
    Mark comments;
    Position commentsEnd = 0;
    for (bool anyComments = false;;) {
        first = lexer.NextBetween(!anyComments);
        if (Done())
            return false;
        // A hint belongs to the statement.
        if (first.IsComment() && lexer.View(first).substr(0, 3) != "/*+") {
            if (TakeCommandComment(first)) {
                anyComments = false;
                continue;
            }
            if (!anyComments)
                comments = MarkAt(first.begin);
            anyComments = true;
            commentsEnd = first.end;
            continue;
        }
        const bool atEnd = first.kind == Token::Kind::End;
        if (!atEnd && !IsSeparator(first))
            break;
        if (anyComments)
            HandOn(comments, commentsEnd, lexer.Here(), Use::Skip);
        if (atEnd)
            return false;
        anyComments = false;
    }
    begin = MarkAt(first.begin);
    text.DropTo(first.begin);
    return true;
}

void StatementSplitter::SetSeparator(const std::string& newSeparator) {
    wordSeparator.clear();
    const bool isWord = !newSeparator.empty() && Lexer::IsWordByte(newSeparator[0]) &&
                        static_cast<unsigned char>(newSeparator[0]) < 0x80;
    if (isWord) {
        for (const char c : newSeparator)
            wordSeparator += Upper(c);
        lexer.AddLineStarter(newSeparator[0]);
    }
    lexer.SetDelimiter(isWord ? std::string() : newSeparator);
}

bool StatementSplitter::IsGivenSeparator(const Token& token) {
    if (token.kind == Token::Kind::Delimiter) {
        const char next = lexer.Peek(0);
        return next == '\0' || IsBlank(next) || (next == '-' && lexer.Peek(1) == '-') ||
               (next == '/' && lexer.Peek(1) == '*');
    }
    if (wordSeparator.empty() || token.kind != Token::Kind::Word || !token.startsLine)
        return false;
    lexer.Back(token);
    const bool same = SameWord(TrimRight(lexer.RestOfLine()), wordSeparator);
    lexer.MoveTo(same ? token.begin + wordSeparator.size() : token.end);
    return same;
}

bool StatementSplitter::TakeCommandComment(const Token&) {
    return false;
}

void StatementSplitter::TakeLine() {
    lexer.SkipLine();
    HandOn(begin, lexer.Here(), lexer.Here(), Use::Skip);
}

}  // namespace qxscriptparser
