#include "scriptparser/split_support.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "scriptparser/dialect.h"
#include "scriptparser/script_text.h"
#include "scriptparser/wide_text.h"

namespace split_support {

namespace {

using qxscriptparser::Item;
using qxscriptparser::ItemSink;

class Recorder final : public ItemSink {
  public:
    bool Put(const Item& item) override {
        const unsigned int flags =
            (item.skip ? Skip : 0U) | (item.isProcedureCall ? Call : 0U) | (item.isDataCopy ? Copy : 0U);
        result.rows.push_back({item.line, std::string(item.text), flags});
        result.offsets.push_back(item.endOffset);
        return true;
    }
    Result result;
};

}  // namespace

std::ostream& operator<<(std::ostream& out, const Row& row) {
    out << "{" << row.line << ", \"" << row.text << "\"";
    if ((row.flags & Skip) != 0)
        out << ", skip";
    if ((row.flags & Call) != 0)
        out << ", call";
    if ((row.flags & Copy) != 0)
        out << ", copy";
    return out << "}";
}

std::ostream& operator<<(std::ostream& out, const Case& someCase) {
    return out << someCase.name;
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

std::string Encode(std::string_view utf8, Encoding encoding) {
    if (encoding == Encoding::Utf8)
        return std::string(utf8);
    if (encoding == Encoding::Utf8Mark)
        return "\xEF\xBB\xBF" + std::string(utf8);
    qxscriptparser::WideText wide;
    const unsigned short* unit = wide.Assign(utf8);
    const bool isLittle = encoding == Encoding::Little || encoding == Encoding::LittleMark;
    std::string bytes;
    if (encoding == Encoding::LittleMark)
        bytes = "\xFF\xFE";
    if (encoding == Encoding::BigMark)
        bytes = "\xFE\xFF";
    for (; *unit != 0; ++unit) {
        const char low = static_cast<char>(*unit & 0xFF);
        const char high = static_cast<char>(*unit >> 8);
        bytes += isLittle ? low : high;
        bytes += isLittle ? high : low;
    }
    return bytes;
}

std::size_t EncodedSize(std::string_view utf8, Encoding encoding) {
    return Encode(utf8, encoding).size();
}

std::size_t PieceSource::Read(char* to, std::size_t count) {
    const std::size_t given = std::min({count, size, rest.size()});
    std::memcpy(to, rest.data(), given);
    rest.remove_prefix(given);
    return given;
}

Result SplitFrom(qxscriptparser::ScriptSource& source, const std::string& parserName,
                 const std::string& separator) {
    const std::atomic<bool> stop{false};
    Recorder recorder;
    qxscriptparser::ScriptText text(source, stop);
    const auto splitter = qxscriptparser::MakeSplitter(parserName, separator, text, recorder);
    if (!splitter) {
        ADD_FAILURE() << "no dialect " << parserName;
        return {};
    }
    splitter->Run();
    return recorder.result;
}

Result Split(std::string_view bytes, const std::string& parserName, const std::string& separator,
             std::size_t pieceSize) {
    PieceSource source(bytes, pieceSize);
    return SplitFrom(source, parserName, separator);
}

void ExpectSplit(const Case& someCase, const std::string& parserName, const std::string& separator) {
    const Result whole = Split(someCase.script, parserName, separator);
    ASSERT_EQ(whole.rows, someCase.rows) << "in one piece";
    EXPECT_TRUE(std::is_sorted(whole.offsets.begin(), whole.offsets.end()));
    for (const Encoding encoding : kEncodings) {
        const std::string bytes = Encode(someCase.script, encoding);
        std::vector<std::uint64_t> offsets;
        for (const std::uint64_t offset : whole.offsets)
            offsets.push_back(EncodedSize(std::string_view(someCase.script).substr(0, offset), encoding));
        for (const std::size_t size : {1U << 20, 1U, 2U, 3U, 7U}) {
            const Result result = Split(bytes, parserName, separator, size);
            ASSERT_EQ(result.rows, someCase.rows)
                << "encoding " << static_cast<int>(encoding) << ", pieces of " << size;
            ASSERT_EQ(result.offsets, offsets)
                << "encoding " << static_cast<int>(encoding) << ", pieces of " << size;
        }
    }
}

}  // namespace split_support
