// Which statements are marked as procedure calls: those whose arguments the reader of calls turns into texts
// with the same meaning.
#include <gtest/gtest.h>

#include <list>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "batch/procedure_call.h"
#include "platform/os/code_page.h"
#include "scriptparser/bindable_call.h"
#include "scriptparser/wide_text.h"

namespace {

using qxscriptparser::CallRules;
using qxscriptparser::IsBindableCall;

struct CallCase {
    const char* text;
    bool isBindable;
};

const CallCase kCases[] = {
    {"exec p(1)", true},
    {"EXECUTE p(1)", true},
    {"Call p(1)", true},
    {"exec p()", true},
    {"exec p ( )", true},
    {"exec\n s.p\t(1 ,\n 2)", true},
    {"exec db.s.p_1$#(1)", true},
    {"exec \"Owner\".\"my proc\"(1)", true},
    {"exec p(1, 'a,b', 'it''s', NULL, ?)", true},
    {"exec p(-1, +2, .5, 1., -1.25)", true},
    {"exec p('')", true},
    {"exec p('', 'x')", true},
    {"exec p('''', 'x')", true},
    {"exec p('a'' ,b')", true},
    {"exec p('()')", true},
    {"exec p('-- x')", true},
    {"exec p('\xC3\xA4')", true},
    {"exec p('a\nb')", true},
    {"exec p(null, Null)", true},
    {"exec p('NULLS', 'a?')", true},

    {"exec p", false},
    {"p(1)", false},
    {"execp(1)", false},
    {"exec(1)", false},
    {"exec ('select 1')", false},
    {"exec 'p'(1)", false},
    {"exec p(1", false},
    {"exec p 1)", false},
    {"exec p(1))", false},
    {"exec p(1);", false},
    {"exec p(1) x", false},
    {"exec p(1) -- x", false},
    {"exec p /* x */ (1)", false},
    {"exec p(1 /* x */)", false},
    {"exec p(1 -- x\n)", false},
    {"exec p(1 2)", false},
    {"exec p(1,)", false},
    {"exec p(,1)", false},
    {"exec p(,)", false},
    {"exec p(a)", false},
    {"exec p(a => 1)", false},
    {"exec p(@a = 1)", false},
    {"exec p(@a)", false},
    {"exec p(:a)", false},
    {"exec p(1 + 2)", false},
    {"exec p(f(1))", false},
    {"exec p((1))", false},
    {"exec p(sysdate)", false},
    {"exec p(true)", false},
    {"exec p(--1)", false},
    {"exec p(- 1)", false},
    {"exec p(1e5)", false},
    {"exec p(0x1F)", false},
    {"exec p(1.2.3)", false},
    {"exec p(.)", false},
    {"exec p(N'a')", false},
    {"exec p(x'41')", false},
    {"exec p(date '2006-12-31')", false},
    {"exec p({d '2006-12-31'})", false},
    {"exec p('a' 'b')", false},
    {"exec p('a' || 'b')", false},
    {"exec p(\"a\")", false},
    {"exec p('a)", false},
    {"exec p('NULL')", false},
    {"exec p('null')", false},
    {"exec p(' NULL ')", false},
    {"exec p('?')", false},
    {"exec p(' a')", false},
    {"exec p('a ')", false},
    {"exec p(' ')", false},
    {"exec p('a'',b')", false},
    {"exec p(?, ?\?)", false},
    {"exec p(nulls)", false},
    {"exec [p](1)", false},
    {"exec `p`(1)", false},
    {"exec p;1(1)", false},
    {"exec p@l(1)", false},
    {"exec 1p(1)", false},
    {"exec .p(1)", false},
    {"exec s.(1)", false},
    {"exec s . p(1)", false},
    {"exec \"a(b\"(1)", false},
    {"exec \"a\"\"b\"(1)", false},
    {"exec \"\"(1)", false},
    {"exec \"a(1)", false},
    {"exec \xC3\xA4(1)", false},
    {"exec @r = p(1)", false},
    {"exec :r := p(1)", false},
    {"{? = call p(1)}", false},
    {"{call p(1)}", false},
    {"execute immediate('x')", false},
    {"execute IMMEDIATE ('x')", false},
    {"execute immediately(1)", true},
    {"select p(1)", false},
    {"", false},
};

TEST(BindableCallTest, OnlyLiteralsNullAndQuestionMarks) {
    for (const CallCase& tested : kCases)
        EXPECT_EQ(IsBindableCall(tested.text, CallRules()), tested.isBindable) << tested.text;
}

TEST(BindableCallTest, EndsAreNeverOverrun) {
    for (const CallCase& tested : kCases) {
        const std::string text = tested.text;
        for (std::size_t size = 0; size < text.size(); ++size) {
            // A copy of exactly this size, so that a read behind it is one behind its memory.
            const std::vector<char> cut(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
            IsBindableCall(std::string_view(cut.data(), cut.size()), CallRules());
        }
    }
}

TEST(BindableCallTest, ABackslashThatMeansSomethingIsRefused) {
    CallRules rules;
    EXPECT_TRUE(IsBindableCall("call p('a\\b')", rules));
    rules.backslashEscapes = true;
    EXPECT_FALSE(IsBindableCall("call p('a\\b')", rules));
    EXPECT_TRUE(IsBindableCall("call p('ab')", rules));
}

TEST(BindableCallTest, ExecuteOfAPreparedStatementIsRefused) {
    CallRules rules;
    rules.executeIsCall = false;
    EXPECT_FALSE(IsBindableCall("execute p(1)", rules));
    EXPECT_TRUE(IsBindableCall("exec p(1)", rules));
    EXPECT_TRUE(IsBindableCall("call p(1)", rules));
}

qxbatch::wstring Wide(const std::string& text) {
    qxscriptparser::WideText wide;
    return wide.Assign(text);
}

// The values that the reader makes of a call's arguments.
std::optional<std::list<std::string>> ReadArguments(const std::string& text) {
    qxbatch::wstring params = Wide(text.substr(text.find('(')));
    std::list<std::string> values;
    if (!qxbatch::ParseArguments(params, values))
        return std::nullopt;
    return values;
}

TEST(BindableCallTest, TheReaderOfCallsGivesTheValuesOfWhatIsAccepted) {
    static const std::vector<std::string> kParts = {"'", "'", ",",    " ",  "a",       "(",
                                                    ")", "?", "NULL", "''", "\xC3\xA4"};
    std::mt19937 random(7);
    const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = "exec s.p(";
        std::list<std::string> expected;
        for (std::size_t count = below(4); count > 0; --count) {
            text += expected.empty() ? "" : below(2) != 0 ? " , " : ",";
            if (below(4) == 0) {
                expected.push_back(below(2) != 0 ? "NULL" : "-1.5");
                text += expected.back();
                continue;
            }
            std::string value;
            for (std::size_t parts = below(5); parts > 0; --parts)
                value += kParts[below(kParts.size())];
            expected.push_back(value);
            text += '\'';
            for (const char c : value)
                text += c == '\'' ? std::string("''") : std::string(1, c);
            text += '\'';
        }
        text += ")";
        if (!IsBindableCall(text, CallRules()))
            continue;
        ++accepted;
        const auto values = ReadArguments(text);
        ASSERT_TRUE(values.has_value()) << text;
        ASSERT_EQ(*values, expected) << text;
        ASSERT_EQ(qxbatch::ProcedureName(Wide(text.substr(0, text.find('(')))), Wide("S.P"));
    }
    EXPECT_GT(accepted, 5000);
}

}  // namespace
