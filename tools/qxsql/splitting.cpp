#include "tools/qxsql/splitting.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>

#include "batch/parser_name.h"
#include "platform/os/code_page.h"
#include "platform/os/component.h"
#include "platform/qxparser/script_parser.h"
#include "platform/qxutils/wide_string.h"
#include "tools/qxsql/file_failure.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/json_text.h"
#include "tools/qxsql/output_buffer.h"
#include "tools/qxsql/script_input.h"

namespace qxsql {

namespace {

// Prints each statement when it comes.
class ItemPrinter final
    : public qxos::ComponentObject<IQXBatchProcessorSink, &IID_IUnknown, &IQXBatchProcessorSink::Iid> {
  public:
    explicit ItemPrinter(OutputBuffer& output) : out(output) {}

    HRESULT PutStatement(unsigned short const* statement, long, long line, short skip, short isProcedureCall,
                         short isDataCopy) override {
        std::string& text = out.Text();
        text += "{\"line\":";
        text += std::to_string(line);
        AppendFlag(text, "skip", skip);
        AppendFlag(text, "procedure", isProcedureCall);
        AppendFlag(text, "datacopy", isDataCopy);
        text += ",\"text\":\"";
        const std::size_t length = qxutils::Char16Traits::length(statement);
        bool written = true;
        for (std::size_t i = 0; i < length && written;) {
            i = AppendJsonPiece(text, statement, length, i);
            written = out.WriteIfLarge();
        }
        text += "\"}\n";
        return written && out.WriteIfDue() ? S_OK : E_ABORT;
    }
    HRESULT ProcessingComplete() override { return S_OK; }

  private:
    static void AppendFlag(std::string& text, const char* name, short flag) {
        text += ",\"";
        text += name;
        text += flag == VARIANT_TRUE ? "\":true" : "\":false";
    }

    OutputBuffer& out;
};

// Text that a component gets as its argument.
class ComponentText {
  public:
    explicit ComponentText(const std::string& bytes) {
        std::wstring wide(qxos::BytesToWide(bytes, nullptr), L'\0');
        qxos::BytesToWide(bytes, wide.data());
        text = SysAllocStringLen(wide.data(), static_cast<unsigned int>(wide.size()));
    }
    ~ComponentText() { SysFreeString(text); }
    ComponentText(const ComponentText&) = delete;
    ComponentText& operator=(const ComponentText&) = delete;

    BSTR Get() const { return text; }

  private:
    BSTR text;
};

// The system's part of a thread that uses components.
class ComponentScope {
  public:
    ComponentScope() { CoInitialize(nullptr); }
    ~ComponentScope() { CoUninitialize(); }
    ComponentScope(const ComponentScope&) = delete;
    ComponentScope& operator=(const ComponentScope&) = delete;
};

HRESULT MakeParser(qxos::ComponentPtr<IQXScriptParser>& parser) {
    qxos::ComponentPtr<IQXScriptParserFactory> factory;
    void* made = nullptr;
    const HRESULT result = CoCreateInstance(CLSID_QXScriptParserFactory, nullptr, CLSCTX_ALL,
                                            IQXScriptParserFactory::Iid, &made);
    if (result < 0) {
        qxos::SetComponentErrorText("There is no script parser");
        return result;
    }
    *factory.Receive() = static_cast<IQXScriptParserFactory*>(made);
    return factory->GetParser(parser.Receive());
}

// As the thread of a run drives it.
HRESULT Parse(const CommandLine& line, const ScriptInput& input, IQXBatchProcessorSink& sink) {
    const ComponentScope components;
    qxos::ComponentPtr<IQXScriptParser> parser;
    HRESULT result = MakeParser(parser);
    if (result < 0)
        return result;
    const qxdb::DBTYPE server = line.dialect->server;
    // By its separator alone the generic parser tells Oracle from DB2: with the user's own it can't.
    const bool isGeneric = line.separator.empty();
    const std::string separator = isGeneric ? qxbatch::DefaultBatchSeparator(server) : line.separator;
    const ComponentText file(input.Path());
    parser->Advise(&sink);
    result = parser->ParseFile(file.Get(), qxbatch::ParserName(server, 0.0, isGeneric).c_str(),
                               ComponentText(separator).Get());
    parser->Unadvise(&sink);
    return result;
}

int ReportFailedWrite(int error) {
    // Who reads through a pipe and has seen enough needs no message.
    if (error != EPIPE)
        std::cerr << "Cannot write to standard output: " << std::strerror(error) << '\n';
    return ExitFile;
}

}  // namespace

int RunSplit(const CommandLine& line) {
    IgnoreClosedPipes();
    const ScriptInput input(line.sqlFile, ScriptInput::AsTheyAre);
    OutputBuffer out(STDOUT_FILENO);
    qxos::TakeComponentErrorText();
    qxos::ComponentPtr<ItemPrinter> printer;
    *printer.Receive() = new ItemPrinter(out);
    const HRESULT result = Parse(line, input, *printer.Get());
    if (!out.Write())
        return ReportFailedWrite(out.Failure());
    if (result >= 0)
        return ExitDone;
    const std::string reason = qxos::TakeComponentErrorText();
    throw FileFailure(input.Name() + ": the script was not read to its end: " +
                      (reason.empty() ? _com_error(result).ErrorMessage() : input.WithName(reason)));
}

}  // namespace qxsql
