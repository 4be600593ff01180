// The first byte picks a dialect, the second an encoding and the size of the pieces that are read, the others
// are the script. However it is read, the same items must come, in order, each of them fit for those who get
// it.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "batch/procedure_call.h"
#include "fuzz/check.h"
#include "scriptparser/dialect.h"
#include "scriptparser/item.h"
#include "scriptparser/lexical_rules.h"
#include "scriptparser/script_error.h"
#include "scriptparser/script_source.h"
#include "scriptparser/script_text.h"
#include "scriptparser/wide_text.h"

namespace {

using namespace qxscriptparser;

struct Dialect {
    const char* name;
    const char* separator;
};
constexpr Dialect kDialects[] = {{"Generic:1", "/"},  {"Generic:1", ";"},      {"DB28", "@"},
                                 {"Generic:0", "go"}, {"MySQLGeneric:1", ";"}, {"Generic:1", ""},
                                 {"Oracle92", "@"},   {"Generic:1", "go"}};

// GO with a count hands a batch on again and again: enough of that is enough.
constexpr std::size_t kMostItems = 5000;

class PieceSource final : public ScriptSource {
  public:
    PieceSource(std::string_view bytes, std::size_t pieceSize) : rest(bytes), size(pieceSize) {}
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given = std::min({count, size, rest.size()});
        std::memcpy(to, rest.data(), given);
        rest.remove_prefix(given);
        return given;
    }

  private:
    std::string_view rest;
    const std::size_t size;
};

struct Got {
    std::string text;
    std::uint64_t endOffset;
    long line;
    int flags;

    bool operator==(const Got& other) const {
        return text == other.text && endOffset == other.endOffset && line == other.line &&
               flags == other.flags;
    }
};

class CheckingSink final : public ItemSink {
  public:
    explicit CheckingSink(std::size_t size) : scriptSize(size) {}

    bool Put(const Item& item) override {
        QX_FUZZ_CHECK(!item.text.empty() && Trim(item.text) == item.text);
        QX_FUZZ_CHECK(item.text.find('\0') == std::string_view::npos);
        QX_FUZZ_CHECK(item.line >= 1);
        QX_FUZZ_CHECK(item.endOffset <= scriptSize);
        QX_FUZZ_CHECK(items.empty() || item.endOffset >= items.back().endOffset);
        QX_FUZZ_CHECK(!item.skip || (!item.isProcedureCall && !item.isDataCopy));
        if (item.isProcedureCall)
            CheckCall(item.text);
        items.push_back({std::string(item.text), item.endOffset, item.line,
                         (item.skip ? 1 : 0) + (item.isProcedureCall ? 2 : 0) + (item.isDataCopy ? 4 : 0)});
        return items.size() < kMostItems;
    }

    std::vector<Got> items;

  private:
    // The reader of calls must find its way through what is marked as one.
    static void CheckCall(std::string_view text) {
        const std::size_t open = text.find('(');
        QX_FUZZ_CHECK(open != std::string_view::npos);
        WideText wide;
        qxbatch::wstring arguments = wide.Assign(text.substr(open));
        std::list<std::string> values;
        QX_FUZZ_CHECK(qxbatch::ParseArguments(arguments, values));
        QX_FUZZ_CHECK(!qxbatch::ProcedureName(wide.Assign(text.substr(0, open))).empty());
    }

    const std::size_t scriptSize;
};

struct Outcome {
    std::vector<Got> items;
    std::string failure;
};

Outcome Split(std::string_view bytes, const Dialect& dialect, std::size_t pieceSize) {
    const std::atomic<bool> stop{false};
    PieceSource source(bytes, pieceSize);
    ScriptText text(source, stop);
    CheckingSink sink(bytes.size());
    Outcome outcome;
    try {
        MakeSplitter(dialect.name, dialect.separator, text, sink)->Run();
    } catch (const ScriptError& failure) {
        outcome.failure = failure.what();
    }
    outcome.items = std::move(sink.items);
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const Dialect& dialect = kDialects[data[0] % std::size(kDialects)];
    const std::string mark = data[1] % 4 == 0 ? "\xEF\xBB\xBF" : data[1] % 16 == 1 ? "\xFF\xFE" : "";
    const std::size_t pieceSize = 1 + data[1] / 16;
    const std::string script = mark + std::string(reinterpret_cast<const char*>(data) + 2, size - 2);

    const Outcome whole = Split(script, dialect, script.size());
    const Outcome pieces = Split(script, dialect, pieceSize);
    QX_FUZZ_CHECK(whole.failure == pieces.failure);
    QX_FUZZ_CHECK(whole.items == pieces.items);
    return 0;
}
