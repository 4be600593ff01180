// Scripts and statements of any size: memory for the longest statement, time for each byte once.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "scriptparser/dialect.h"
#include "scriptparser/item.h"
#include "scriptparser/script_source.h"
#include "scriptparser/script_text.h"

namespace {

using namespace qxscriptparser;

constexpr std::uint64_t kMega = 1024 * 1024;
// Every byte takes about thirty times as long under a sanitizer, where shorter scripts have to do.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kShortening = 16;
#else
constexpr std::uint64_t kShortening = 1;
#endif

// A head, then a text again and again.
class RepeatingSource final : public ScriptSource {
  public:
    RepeatingSource(std::string head, const std::string& repeated, std::uint64_t size)
        : block(std::move(head)), left(size) {
        const std::size_t headSize = block.size();
        while (block.size() < headSize + 64 * 1024)
            block += repeated;
        restart = headSize;
        // Whole repetitions, so that the block can follow itself.
        block.resize(headSize + (block.size() - headSize) / repeated.size() * repeated.size());
    }
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given =
            static_cast<std::size_t>(std::min<std::uint64_t>({count, block.size() - position, left}));
        std::memcpy(to, block.data() + position, given);
        position += given;
        left -= given;
        if (position == block.size())
            position = restart;
        return given;
    }

  private:
    std::string block;
    std::size_t restart = 0;
    std::size_t position = 0;
    std::uint64_t left;
};

std::uint64_t ResidentBytes() {
    std::uint64_t all = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

class CountingSink final : public ItemSink {
  public:
    bool Put(const Item& item) override {
        ++items;
        longest = std::max<std::uint64_t>(longest, item.text.size());
        lastEnd = item.endOffset;
        lastLine = item.line;
        if (items % 65536 == 0)
            most = std::max(most, ResidentBytes());
        return true;
    }
    std::uint64_t items = 0;
    std::uint64_t longest = 0;
    std::uint64_t lastEnd = 0;
    long lastLine = 0;
    std::uint64_t most = 0;
};

CountingSink SplitAll(ScriptSource& source, const std::string& name, const std::string& separator) {
    const std::atomic<bool> stop{false};
    CountingSink sink;
    ScriptText text(source, stop);
    MakeSplitter(name, separator, text, sink)->Run();
    return sink;
}

struct Dialect {
    const char* name;
    const char* separator;
};
constexpr Dialect kDialects[] = {
    {"Generic:0", "go"}, {"Generic:1", "/"}, {"Generic:1", ";"}, {"Generic:1", ""}, {"MySQLGeneric:1", ";"}};

TEST(StreamTest, ALongScriptNeedsNoMemory) {
    for (const Dialect& dialect : kDialects) {
        const bool isBatch = std::string(dialect.separator) == "go";
        const std::string statement =
            std::string("insert into t (a, b) values (1, 'it''s; text')") + (isBatch ? "\ngo\n" : ";\n");
        constexpr std::uint64_t kSize = 400 * kMega / kShortening;
        RepeatingSource source("", statement, kSize / statement.size() * statement.size());
        const std::uint64_t before = ResidentBytes();
        const CountingSink sink = SplitAll(source, dialect.name, dialect.separator);
        EXPECT_EQ(sink.items, kSize / statement.size()) << dialect.name;
        EXPECT_EQ(sink.lastLine, static_cast<long>((sink.items - 1) * (isBatch ? 2 : 1) + 1));
        EXPECT_LT(sink.most, before + 16 * kMega) << dialect.name;
    }
}

TEST(StreamTest, ALongLineOfStatementsNeedsNoMemory) {
    const std::string statement = "select 1; ";
    constexpr std::uint64_t kSize = 1024 * kMega / kShortening;
    RepeatingSource source("", statement, kSize / statement.size() * statement.size());
    const std::uint64_t before = ResidentBytes();
    const CountingSink sink = SplitAll(source, "Generic:1", "");
    EXPECT_EQ(sink.items, kSize / statement.size());
    EXPECT_EQ(sink.lastLine, 1);
    EXPECT_EQ(sink.lastEnd, sink.items * statement.size() - 1);
    EXPECT_LT(sink.most, before + 16 * kMega);
}

TEST(StreamTest, DataAndBlanksThatArePassedOverNeedNoMemory) {
    for (const char* head : {"copy t from stdin;\n", ""}) {
        RepeatingSource source(head, *head != '\0' ? "1\tit's text;\n" : "    \n", 400 * kMega / kShortening);
        const std::uint64_t before = ResidentBytes();
        const CountingSink sink = SplitAll(source, "Generic:1", "");
        EXPECT_EQ(sink.items, *head != '\0' ? 1U : 0U);
        EXPECT_LT(ResidentBytes(), before + 16 * kMega);
    }
}

// What never ends is read in one go: each of these takes far below a second when no byte is looked at twice,
// and hours when each piece is.
TEST(StreamTest, OneLongStatementIsReadOnce) {
    struct Part {
        const char* head;
        const char* repeated;
    };
    constexpr Part kParts[] = {
        {"select '", "it''s; text\n"},
        {"select /* ", "text; * / \n"},
        {"/* ", "text; /* */ \n"},
        {"-- ", "text"},
        {"select ", "word"},
        {"select ", "    "},
        {"select 1", "\n\n\n"},
        {"select ", "1,\n"},
        {"select ", "- / $ [ q E \\N ` ,"},
        {"select q'[", "text] '\n"},
        {"select $tag$", "text $ $$ $tag\n"},
        {"begin ", "case when 1 then 2 else if; \n"},
        {"create procedure p() begin ", "begin if a then case\n"},
        {"create procedure p() begin ", "end; end if; (\n"},
        {"go ", "x"},
        {"select [a", " [a"},
        {"\\echo ", "x \\y "},
        {"prompt ", "-\n"},
        {"delimiter ", "/"},
        {"exec p ", "-\n"},
    };
    constexpr std::uint64_t kSize = 24 * kMega / kShortening;
    for (const Dialect& dialect : kDialects) {
        for (const Part& part : kParts) {
            RepeatingSource source(part.head, part.repeated, kSize);
            const CountingSink sink = SplitAll(source, dialect.name, dialect.separator);
            EXPECT_LE(sink.longest, kSize + 16) << dialect.name << ": " << part.head;
        }
    }
}

}  // namespace
