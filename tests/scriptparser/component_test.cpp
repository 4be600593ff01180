// The parser as the component that the engine finds: failures, cancels, files, and the text of statements.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "batch/batch_processor.h"
#include "platform/os/code_page.h"
#include "platform/os/component.h"
#include "platform/qxparser/script_parser.h"
#include "scriptparser/script_parser_component.h"

namespace {

struct Statement {
    std::string text;  // UTF-8
    long end = 0;
    long line = 0;
    bool skip = false;
    bool isCall = false;
    bool isCopy = false;
};

class Sink final : public IQXBatchProcessorSink {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE PutStatement(unsigned short const* text, long end, long line, short skip,
                                           short isCall, short isCopy) override {
        EXPECT_EQ(completions, 0);
        for (const short flag : {skip, isCall, isCopy})
            EXPECT_TRUE(flag == VARIANT_TRUE || flag == VARIANT_FALSE);
        std::size_t size = 0;
        while (text[size] != 0)
            ++size;
        units.assign(text, text + size);
        statements.push_back({qxos::Utf16ToMultiByte(text, size), end, line, skip == VARIANT_TRUE,
                              isCall == VARIANT_TRUE, isCopy == VARIANT_TRUE});
        return onPut ? onPut() : S_OK;
    }
    HRESULT STDMETHODCALLTYPE ProcessingComplete() override {
        ++completions;
        return completionResult;
    }

    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Statement& statement : statements)
            texts.push_back(statement.text);
        return texts;
    }

    std::function<HRESULT()> onPut;
    HRESULT completionResult = S_OK;
    std::vector<Statement> statements;
    std::vector<unsigned short> units;  // of the last one
    int completions = 0;
    std::atomic<ULONG> references{0};
};

using Texts = std::vector<std::string>;

class ComponentTest : public testing::Test {
  protected:
    ComponentTest() {
        qxscriptparser::RegisterScriptParser();
        EXPECT_GE(CoInitialize(nullptr), 0);
        EXPECT_EQ(CoCreateInstance(CLSID_QXScriptParserFactory, nullptr, CLSCTX_ALL,
                                   IQXScriptParserFactory::Iid, reinterpret_cast<void**>(factory.Receive())),
                  S_OK);
        EXPECT_EQ(factory->GetParser(parser.Receive()), S_OK);
        EXPECT_EQ(parser->Advise(&sink), S_OK);
        qxos::TakeComponentErrorText();
    }
    ~ComponentTest() override {
        parser->Unadvise(&sink);
        EXPECT_EQ(sink.references, 0U);
        parser.Reset();
        factory.Reset();
        CoUninitialize();
        for (const std::string& name : files)
            std::remove(name.c_str());
    }

    struct FreeBstr {
        void operator()(wchar_t* text) const { SysFreeString(text); }
    };
    using Bstr = std::unique_ptr<wchar_t, FreeBstr>;
    static Bstr MakeBstr(const std::string& bytes) {
        std::wstring wide(bytes.size(), L'\0');
        wide.resize(qxos::BytesToWide(bytes, wide.data()));
        return Bstr(SysAllocStringLen(wide.data(), static_cast<unsigned int>(wide.size())));
    }
    HRESULT ParseText(const std::string& text, const wchar_t* name = L"Generic:1",
                      const wchar_t* separator = L";") {
        return parser->ParseText(MakeBstr(text).get(), L"sql", name, separator);
    }
    HRESULT ParseFile(const std::string& fileName, const wchar_t* name = L"Generic:1",
                      const wchar_t* separator = L";") {
        return parser->ParseFile(MakeBstr(fileName).get(), name, separator);
    }
    std::string MakeFile(const std::string& bytes) {
        std::string name = (std::filesystem::temp_directory_path() / "qx_script_XXXXXX").string();
        const int file = mkstemp(name.data());
        EXPECT_GE(file, 0);
        close(file);
        std::ofstream(name, std::ios::binary) << bytes;
        files.push_back(name);
        return name;
    }
    static std::string Reason() { return qxos::TakeComponentErrorText(); }

    qxos::ComponentPtr<IQXScriptParserFactory> factory;
    qxos::ComponentPtr<IQXScriptParser> parser;
    Sink sink;
    std::vector<std::string> files;
};

TEST_F(ComponentTest, InterfacesAreThoseOfTheContract) {
    void* object = nullptr;
    EXPECT_EQ(factory->QueryInterface(IID_IDispatch, &object), S_OK);
    static_cast<IQXScriptParserFactory*>(object)->Release();
    EXPECT_EQ(parser->QueryInterface(IID_IUnknown, &object), S_OK);
    static_cast<IQXScriptParser*>(object)->Release();
    EXPECT_EQ(parser->QueryInterface(IQXBatchProcessorSink::Iid, &object), E_NOINTERFACE);
    EXPECT_EQ(factory->ReservedFirst(), E_NOTIMPL);
    EXPECT_EQ(parser->ReservedThird(), E_NOTIMPL);
    EXPECT_EQ(parser->ReservedFourth(), E_NOTIMPL);
    EXPECT_EQ(factory->GetParser(nullptr), E_POINTER);
}

TEST_F(ComponentTest, GivesStatementsWithTheirValues) {
    EXPECT_EQ(ParseText("-- x\nselect 1;\n\ncall p(1);\ndatacopy a;\n-- y\n"), S_OK);
    ASSERT_EQ(sink.statements.size(), 4U);
    EXPECT_EQ(sink.Texts(), (Texts{"select 1", "call p(1)", "datacopy a", "-- y"}));
    const long lines[] = {2, 4, 5, 6};
    const long ends[] = {14, 26, 38, 44};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(sink.statements[i].line, lines[i]);
        EXPECT_EQ(sink.statements[i].end, ends[i]);
        EXPECT_EQ(sink.statements[i].isCall, i == 1);
        EXPECT_EQ(sink.statements[i].isCopy, i == 2);
        EXPECT_EQ(sink.statements[i].skip, i == 3);
    }
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, AnEmptyScriptIsComplete) {
    EXPECT_EQ(ParseText(""), S_OK);
    EXPECT_EQ(parser->ParseText(nullptr, nullptr, L"Generic:0", nullptr), S_OK);
    EXPECT_EQ(ParseFile(MakeFile("")), S_OK);
    EXPECT_TRUE(sink.statements.empty());
    EXPECT_EQ(sink.completions, 3);
}

TEST_F(ComponentTest, AParserReadsSeveralScripts) {
    sink.completionResult = S_FALSE;
    EXPECT_EQ(ParseText("select 1;"), S_OK);
    sink.completions = 0;
    EXPECT_EQ(ParseText("select 2;"), S_OK);
    EXPECT_EQ(sink.Texts(), (Texts{"select 1", "select 2"}));
}

TEST_F(ComponentTest, TextComesAsUtf16) {
    EXPECT_EQ(
        ParseText("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 plain text of more than sixteen bytes \xC3\xB6;"),
        S_OK);
    std::vector<unsigned short> expected = {0xE4, 0x20AC, 0xD83D, 0xDE00};
    for (const char c : std::string(" plain text of more than sixteen bytes "))
        expected.push_back(static_cast<unsigned char>(c));
    expected.push_back(0xF6);
    EXPECT_EQ(sink.units, expected);
}

TEST_F(ComponentTest, HalfSurrogatesComeAsTheyAre) {
    const std::string script(
        "\xFF\xFE"
        "a\0"
        "\x3D\xD8"
        "b\0"
        "\x00\xDE"
        ";\0",
        12);
    EXPECT_EQ(ParseFile(MakeFile(script)), S_OK);
    EXPECT_EQ(sink.units, (std::vector<unsigned short>{'a', 0xD83D, 'b', 0xDE00}));
}

TEST_F(ComponentTest, BytesThatAreNoUtf8AreWindows1252) {
    const std::string bytes =
        "select '\x80\xE4\xFC\x9D', '\xC3\xA4\xC3', '\xED\xA0\x80', '\xF0\x9F\x98';select 2;\xE4";
    EXPECT_EQ(ParseFile(MakeFile(bytes)), S_OK);
    const Texts expected = {
        "select '\xE2\x82\xAC\xC3\xA4\xC3\xBC\xC2\x9D', '\xC3\xA4\xC3\x83', '\xC3\xAD\xC2\xA0\xE2\x82\xAC', "
        "'\xC3\xB0\xC5\xB8\xCB\x9C'",
        "select 2", "\xC3\xA4"};
    EXPECT_EQ(sink.Texts(), expected);
    EXPECT_EQ(sink.statements[0].end, static_cast<long>(bytes.find(";") + 1));
    EXPECT_EQ(sink.statements[2].end, static_cast<long>(bytes.size()));
    const Texts fromFile = sink.Texts();
    sink.statements.clear();
    sink.completions = 0;
    EXPECT_EQ(ParseText(bytes), S_OK);
    EXPECT_EQ(sink.Texts(), fromFile);
}

TEST_F(ComponentTest, BinaryFileIsRefused) {
    EXPECT_EQ(ParseFile(MakeFile(std::string("select 1;\nsel\0ect 2;", 20))), E_FAIL);
    EXPECT_EQ(Reason(), "The script is not text: the byte at offset 13, in line 2, is zero.");
    EXPECT_EQ(sink.completions, 1);
    EXPECT_EQ(ParseText(std::string("\0", 1)), E_FAIL);
    EXPECT_EQ(Reason(), "The script is not text: the byte at offset 0, in line 1, is zero.");
    EXPECT_EQ(ParseFile(MakeFile(std::string("\xFF\xFE"
                                             "a\0\n\0\0\0b\0",
                                             10))),
              E_FAIL);
    EXPECT_EQ(Reason(), "The script is not text: the byte at offset 6, in line 2, is zero.");
}

TEST_F(ComponentTest, FilesThatCannotBeRead) {
    EXPECT_EQ(ParseFile("/nowhere/x.sql"), E_FAIL);
    EXPECT_EQ(Reason(), "The script file \"/nowhere/x.sql\" can't be read: No such file or directory");
    EXPECT_EQ(sink.completions, 1);
    const std::string folder = std::filesystem::temp_directory_path().string();
    EXPECT_EQ(ParseFile(folder), E_FAIL);
    EXPECT_EQ(Reason(), "The script file \"" + folder + "\" can't be read: it is a directory");
    EXPECT_EQ(ParseFile(""), E_FAIL);
    EXPECT_EQ(sink.completions, 3);
    EXPECT_TRUE(sink.statements.empty());
}

TEST_F(ComponentTest, FileNamesAreBytes) {
    const std::string name = MakeFile("") + "\xC3\xA4\xFF.sql";
    files.push_back(name);
    std::ofstream(name, std::ios::binary) << "select 1;";
    EXPECT_EQ(ParseFile(name), S_OK);
    EXPECT_EQ(sink.Texts(), Texts{"select 1"});
}

TEST_F(ComponentTest, UnknownDialect) {
    for (const wchar_t* name : {L"", L"generic:1", L"Generic", L"Generic:2", L"Oracle10"})
        EXPECT_EQ(ParseText("select 1;", name), E_INVALIDARG);
    EXPECT_EQ(Reason(), "The script parser knows no dialect \"Oracle10\".");
    EXPECT_EQ(sink.completions, 5);
    EXPECT_EQ(parser->ParseText(MakeBstr("select 1;").get(), L"sql", nullptr, nullptr), E_INVALIDARG);
    EXPECT_TRUE(sink.statements.empty());
}

TEST_F(ComponentTest, WithoutASinkNothingIsParsed) {
    EXPECT_EQ(parser->Advise(nullptr), E_POINTER);
    Sink other;
    EXPECT_EQ(parser->Unadvise(&other), E_INVALIDARG);
    EXPECT_EQ(parser->Unadvise(&sink), S_OK);
    EXPECT_EQ(parser->Unadvise(&sink), E_INVALIDARG);
    EXPECT_EQ(sink.references, 0U);
    EXPECT_EQ(ParseText("select 1;"), E_FAIL);
    EXPECT_EQ(Reason(), "The script parser has nobody to give statements to.");
    EXPECT_EQ(sink.completions, 0);
}

TEST_F(ComponentTest, ANewSinkTakesThePlaceOfTheOld) {
    Sink other;
    EXPECT_EQ(parser->Advise(&other), S_OK);
    EXPECT_EQ(sink.references, 0U);
    EXPECT_EQ(ParseText("select 1;"), S_OK);
    EXPECT_EQ(other.Texts(), Texts{"select 1"});
    EXPECT_TRUE(sink.statements.empty());
    EXPECT_EQ(parser->Unadvise(&other), S_OK);
    EXPECT_EQ(other.references, 0U);
}

TEST_F(ComponentTest, ARefusedStatementEndsTheParse) {
    for (const HRESULT refusal : {E_FAIL, E_ABORT, E_OUTOFMEMORY}) {
        sink.statements.clear();
        sink.completions = 0;
        sink.onPut = [this, refusal] { return sink.statements.size() < 2 ? S_OK : refusal; };
        EXPECT_EQ(ParseText("select 1;select 2;select 3;"), refusal);
        EXPECT_EQ(Reason(), "The statements of the script were refused.");
        EXPECT_EQ(sink.Texts(), (Texts{"select 1", "select 2"}));
        EXPECT_EQ(sink.completions, 1);
    }
    sink.completions = 0;
    EXPECT_EQ(ParseText("select 1\ngo 1000000000\n", L"Generic:0", L"go"), E_OUTOFMEMORY);
}

TEST_F(ComponentTest, ASinkThatThrowsEndsTheParse) {
    sink.onPut = []() -> HRESULT { throw std::runtime_error("no more"); };
    EXPECT_EQ(ParseText("select 1;select 2;"), E_FAIL);
    EXPECT_EQ(Reason(), "no more");
    sink.completions = 0;
    sink.onPut = []() -> HRESULT { throw 1; };
    EXPECT_EQ(ParseText("select 1;select 2;"), E_FAIL);
    EXPECT_EQ(sink.statements.size(), 2U);
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, AFailureAtTheEndIsReturned) {
    sink.completionResult = E_FAIL;
    EXPECT_EQ(ParseText("select 1;"), E_FAIL);
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, CancelFromAnotherThread) {
    sink.onPut = [this] {
        std::thread([this] { EXPECT_EQ(parser->CancelParse(), S_OK); }).join();
        return S_OK;
    };
    EXPECT_EQ(ParseText("select 1;select 2;select 3;"), S_FALSE);
    EXPECT_EQ(sink.Texts(), Texts{"select 1"});
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, CancelOfARepeatedBatch) {
    sink.onPut = [this] {
        if (sink.statements.size() == 3)
            parser->CancelParse();
        return S_OK;
    };
    EXPECT_EQ(ParseText("select 1\ngo 1000000000\n", L"Generic:0", L"go"), S_FALSE);
    EXPECT_EQ(sink.statements.size(), 3U);
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, CancelBeforeTheParseIsFinal) {
    EXPECT_EQ(parser->CancelParse(), S_OK);
    EXPECT_EQ(ParseText("select 1;"), S_FALSE);
    EXPECT_EQ(ParseFile("/nowhere/x.sql"), S_FALSE);
    EXPECT_TRUE(sink.statements.empty());
    EXPECT_EQ(sink.completions, 2);
}

TEST_F(ComponentTest, AFileIsReadToItsEndWhenItIsDeletedMeanwhile) {
    std::string script;
    for (int i = 0; i < 20000; ++i)
        script += "insert into t values (" + std::to_string(i) + ", 'some more text to fill the blocks');\n";
    const std::string name = MakeFile(script);
    sink.onPut = [&] {
        std::remove(name.c_str());
        return S_OK;
    };
    EXPECT_EQ(ParseFile(name), S_OK);
    EXPECT_EQ(sink.statements.size(), 20000U);
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, AFileThatIsCutOffMeanwhileEndsThere) {
    std::string script;
    for (int i = 0; i < 20000; ++i)
        script += "insert into t values (" + std::to_string(i) + ", 'some more text to fill the blocks');\n";
    const std::string name = MakeFile(script);
    sink.onPut = [&] {
        std::filesystem::resize_file(name, 0);
        return S_OK;
    };
    EXPECT_EQ(ParseFile(name), S_OK);
    EXPECT_LT(sink.statements.size(), 20000U);
    EXPECT_EQ(sink.completions, 1);
}

TEST_F(ComponentTest, AStatementOfAPipeIsHandedOnWhenItsEndIsThere) {
    const std::string name = MakeFile("");
    std::remove(name.c_str());
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    std::mutex lock;
    std::condition_variable changed;
    std::size_t seen = 0;
    sink.onPut = [&] {
        const std::lock_guard<std::mutex> guard(lock);
        ++seen;
        changed.notify_all();
        return S_OK;
    };
    bool inTime = true;
    std::thread writer([&] {
        std::ofstream pipe(name, std::ios::binary);
        for (std::size_t i = 1; i <= 3 && inTime; ++i) {
            pipe << "select " << i << " from dual;" << std::flush;
            std::unique_lock<std::mutex> guard(lock);
            inTime = changed.wait_for(guard, std::chrono::seconds(60), [&] { return seen == i; });
        }
    });
    EXPECT_EQ(ParseFile(name, L"Generic:1", L"/"), S_OK);
    writer.join();
    EXPECT_TRUE(inTime);
    EXPECT_EQ(sink.statements.size(), 3U);
}

TEST_F(ComponentTest, ServesTheEngine) {
    const std::string script =
        "select 1 from dual;\nexec scott.\"my proc\"(1, 'a,b', NULL)\nprompt x\nbegin null; end;\n/\n";
    QXDBBatchProcessor processor(qxdb::DBTYPE_ORACLE, 9.2, script, false, "", true, false);
    QXDBBatchProcessor::BatchInfo info;
    const auto text = [&] { return qxos::Utf16ToMultiByte(info.statement.data(), info.statement.size()); };
    ASSERT_TRUE(processor.RetrieveBatch(info));
    EXPECT_EQ(text(), "select 1 from dual");
    ASSERT_TRUE(processor.RetrieveBatch(info));
    EXPECT_EQ(text(), "SCOTT.\"my proc\"");
    EXPECT_EQ(info.itemValue, 2);
    EXPECT_TRUE(info.isProcedureCall);
    EXPECT_EQ(info.parameters, (std::list<std::string>{"1", "a,b", "NULL"}));
    ASSERT_TRUE(processor.RetrieveBatch(info));
    EXPECT_TRUE(info.skip);
    ASSERT_TRUE(processor.RetrieveBatch(info));
    EXPECT_EQ(text(), "begin null; end;");
    EXPECT_EQ(info.itemValue, 4);
    EXPECT_EQ(info.parserValue, static_cast<long>(script.size()) - 1);
    EXPECT_FALSE(processor.RetrieveBatch(info));
    HRESULT code = S_OK;
    std::string reason;
    EXPECT_FALSE(processor.GetFailure(code, reason));
}

TEST_F(ComponentTest, TheEngineHearsOfFailures) {
    QXDBBatchProcessor processor(qxdb::DBTYPE_MYSQL, 5.0, "/nowhere/x.sql", true, "", true, false);
    QXDBBatchProcessor::BatchInfo info;
    EXPECT_FALSE(processor.RetrieveBatch(info));
    HRESULT code = S_OK;
    std::string reason;
    EXPECT_TRUE(processor.GetFailure(code, reason));
    EXPECT_EQ(code, E_FAIL);
    EXPECT_EQ(reason, "The script file \"/nowhere/x.sql\" can't be read: No such file or directory");
}

}  // namespace
