// The contract with the script parser, a component outside the engine: it knows the dialect of each server,
// splits a script into statements and reports them one at a time. The engine finds it by its class id.
//
// Course of a parse, all on one thread:
//   CoInitialize; CoCreateInstance of the factory; IQXScriptParserFactory::GetParser;
//   IQXScriptParser::Advise; ParseFile or ParseText, which returns when the script is done, and calls
//   PutStatement for each statement in the order of the script, then ProcessingComplete once;
//   Unadvise; CoUninitialize. The references are dropped afterwards, on any thread.
// CancelParse comes from another thread.
//
// Failures are codes, none of them thrown; qxos::SetComponentErrorText gives the reason in words. An
// exception that a component lets escape counts as E_FAIL.
#pragma once

#include "platform/export.h"
#include "platform/os/component.h"

// The class of the parser factory.
inline constexpr CLSID CLSID_QXScriptParserFactory{
    0xF6E1AD6E, 0x4EAA, 0x469B, {0x9F, 0xAD, 0xB0, 0xBF, 0x59, 0x71, 0x84, 0xA4}};

// Receives the statements of one script. Implemented by the engine; called on the thread of the parse.
class QXSENG2_API IQXBatchProcessorSink : public IUnknown {
  public:
    static constexpr IID Iid{0x2FA94896, 0x9705, 0x4C20, {0x84, 0x68, 0xEB, 0x80, 0x73, 0xD5, 0xA6, 0xF6}};

    // One statement: UTF-16 units up to a zero, copied during the call, without its separator. A half
    // surrogate stays one.
    //
    // The flags are VARIANT_BOOLs: -1 is true, any other value is false.
    //   skip             nothing in it is to be run: comments only, or a command of the server's own client
    //   isProcedureCall  a call with an argument list in brackets, to be bound and not sent as it stands
    //   isDataCopy       a command to the data-operations library (see platform/qxdbop): its first word is
    //                    DATACOPY, in any case
    //
    // The meaning of the two numbers is the parser's; that of the one in scriptparser/ is:
    //   parserValue      offset in bytes, in the file or in the text as it was given, of the end of the
    //                    statement with its separator: how much of the script is done after it
    //   itemValue        line, from 1, at which the statement's text begins; the engine tells it to batch
    //                    callbacks unchanged
    //
    // Blocks while the reader is far behind. A failure ends the parse, which returns that failure; E_ABORT:
    // nobody wants further statements.
    virtual HRESULT STDMETHODCALLTYPE PutStatement(unsigned short const* statement, long parserValue,
                                                   long itemValue, short skip, short isProcedureCall,
                                                   short isDataCopy) = 0;
    // The parser has delivered everything that it will.
    virtual HRESULT STDMETHODCALLTYPE ProcessingComplete() = 0;

  protected:
    ~IQXBatchProcessorSink() = default;
};

// Splits one script. Operations stand in the order of the interface; those without a use here hold the places
// of operations that the engine doesn't call, and return E_NOTIMPL.
class QXSENG2_API IQXScriptParser : public IDispatch {
  public:
    // `parserName` chooses the dialect: "Generic:0", "Generic:1", "MySQLGeneric:1", "DB2OS390Generic:1" or
    // one of the names that carry a version ("Oracle92"). `separator` is what divides statements, beside what
    // the dialect itself knows; it may be empty. `fileType` is "sql". The arguments are the caller's and
    // valid during the call.
    //
    // `fileName` and `text` were bytes: qxos::WideToBytes gives exactly these bytes back.
    virtual HRESULT STDMETHODCALLTYPE ParseFile(BSTR fileName, wchar_t const* parserName,
                                                wchar_t const* separator) = 0;
    virtual HRESULT STDMETHODCALLTYPE ParseText(BSTR text, wchar_t const* fileType, wchar_t const* parserName,
                                                wchar_t const* separator) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReservedThird() = 0;
    virtual HRESULT STDMETHODCALLTYPE ReservedFourth() = 0;
    // Any thread; returns at once. The parse under way ends early, and one that is only about to begin ends
    // at its start: the cancel of a parser is final.
    virtual HRESULT STDMETHODCALLTYPE CancelParse() = 0;
    // The sink of the parses to come, held with a reference until Unadvise.
    virtual HRESULT STDMETHODCALLTYPE Advise(IQXBatchProcessorSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unadvise(IQXBatchProcessorSink* sink) = 0;

  protected:
    ~IQXScriptParser() = default;
};

class QXSENG2_API IQXScriptParserFactory : public IDispatch {
  public:
    static constexpr IID Iid{0x6DD1D615, 0x8FE3, 0x4F50, {0xA1, 0x17, 0x49, 0x47, 0xAC, 0x7C, 0x9C, 0x8E}};

    virtual HRESULT STDMETHODCALLTYPE ReservedFirst() = 0;
    // A new parser, with one reference.
    virtual HRESULT STDMETHODCALLTYPE GetParser(IQXScriptParser** parser) = 0;

  protected:
    ~IQXScriptParserFactory() = default;
};
