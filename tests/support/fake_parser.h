// A script parser that plays what a test wrote down, registered under the class id that the library asks for.
//
//   qxtest::FakeParser parser;
//   parser.Puts(qxtest::Item("select 1").Line(1).End(9)).Completes();
//   ...
//   EXPECT_EQ(parser.Calls(), (Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise"}));
//
// Calls that it writes down: "create" (of the factory), "GetParser", "Advise", "ParseFile" or "ParseText",
// "CancelParse", "Unadvise", "parser gone", "factory gone".
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/os/component.h"
#include "platform/qxparser/script_parser.h"
#include "platform/qxutils/wide_string.h"

namespace qxtest {

// ASCII to the text of the interface.
qxutils::wstring16 Wide(const std::string& text);
// The other way round, for messages of tests.
std::string Narrow(const qxutils::wstring16& text);

// A statement as the parser puts it. True is -1; other flags can be set as raw numbers.
struct Item {
    Item(const std::string& statement) : text(Wide(statement)) {}
    Item(const char* statement) : text(Wide(statement)) {}
    Item(const qxutils::wstring16& statement) : text(statement) {}

    Item& End(long offset) { return end = offset, *this; }
    Item& Line(long number) { return line = number, *this; }
    Item& Skip(short flag = -1) { return skip = flag, *this; }
    Item& Procedure(short flag = -1) { return procedure = flag, *this; }
    Item& DataCopy(short flag = -1) { return dataCopy = flag, *this; }

    qxutils::wstring16 text;
    long end = 0;
    long line = 0;
    short skip = 0;
    short procedure = 0;
    short dataCopy = 0;
};

// The steps of a parse are written before it begins; the rest may be called on any thread at any time.
// Parsers that outlive the object go on by its script.
class FakeParser {
  public:
    FakeParser();
    // Unregisters.
    ~FakeParser();
    FakeParser(const FakeParser&) = delete;
    FakeParser& operator=(const FakeParser&) = delete;

    // Steps, played in this order on the thread of the parse. A failure of the sink ends the parse with it,
    // as the contract asks, unless `Stubborn`.
    FakeParser& Puts(const Item& item);
    // `count` times; the line is counted up.
    FakeParser& Puts(int count, const Item& item);
    FakeParser& Completes();
    FakeParser& Does(std::function<void()> action);
    // Ends the parse with this code and, unless it is empty, this reason.
    FakeParser& Fails(HRESULT code, const std::string& reason = std::string());
    // Returns when CancelParse was called; the steps behind it are not played then.
    FakeParser& WaitsForCancel();
    // Goes on whatever the sink returns.
    FakeParser& Stubborn();

    // Runs within the call of this name (see above) and gives its result; S_OK goes on as usual. It may
    // throw.
    void At(const std::string& call, std::function<HRESULT()> action);

    std::vector<std::string> Calls() const;
    // Waits up to 10 seconds until the call was made.
    bool WaitForCall(const std::string& call) const;
    // Waits up to 10 seconds until `count` statements were put, or refused.
    bool WaitForPuts(int count) const;
    // What the sink returned for each statement.
    std::vector<HRESULT> PutResults() const;
    // Of the last parse, as the bytes that the caller gave: file name or text, type ("" of a file), name,
    // separator.
    std::vector<std::string> Arguments() const;

    struct State;

  private:
    std::shared_ptr<State> state;
};

}  // namespace qxtest
