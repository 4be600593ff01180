#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/os/code_page.h"
#include "platform/os/debug_output.h"
#include "platform/os/user_locale.h"

namespace {

std::string lastText;
int texts = 0;

void Collect(const char* text) {
    lastText = text;
    ++texts;
}

TEST(DebugOutputTest, GoesToTheHook) {
    EXPECT_EQ(qxos::SetDebugOutputHook(&Collect), nullptr);
    texts = 0;
    qxos::OutputDebugStringA("one");
    qxos::OutputDebugStringA(nullptr);
    EXPECT_EQ(lastText, "one");
    EXPECT_EQ(texts, 1);
    EXPECT_EQ(qxos::SetDebugOutputHook(nullptr), &Collect);
    qxos::OutputDebugStringA("two");
    EXPECT_EQ(texts, 1);
}

// Sets or removes a variable of the environment for a scope.
class Environment {
  public:
    Environment(const char* variable, const char* value) : name(variable) {
        const char* const old = std::getenv(variable);
        had = old != nullptr;
        previous = had ? old : "";
        Set(value);
    }
    ~Environment() { Set(had ? previous.c_str() : nullptr); }

  private:
    void Set(const char* value) {
        if (value != nullptr) {
            ::setenv(name, value, 1);
        } else {
            ::unsetenv(name);
        }
    }

    const char* name;
    bool had;
    std::string previous;
};

TEST(UserLocaleTest, FollowsTheEnvironment) {
    const Environment all("LC_ALL", nullptr);
    const Environment numeric("LC_NUMERIC", nullptr);
    const Environment lang("LANG", nullptr);
    EXPECT_EQ(qxos::UserLocaleName(), "C");
    const Environment langSet("LANG", "de_DE.UTF-8");
    EXPECT_EQ(qxos::UserLocaleName(), "de_DE.UTF-8");
    const Environment numericSet("LC_NUMERIC", "fr_FR.UTF-8");
    EXPECT_EQ(qxos::UserLocaleName(), "fr_FR.UTF-8");
    const Environment allEmpty("LC_ALL", "");
    EXPECT_EQ(qxos::UserLocaleName(), "fr_FR.UTF-8");
    const Environment allSet("LC_ALL", "en_US.UTF-8");
    EXPECT_EQ(qxos::UserLocaleName(), "en_US.UTF-8");
}

struct CodePageCase {
    const char* bytes;
    const wchar_t* wide;
};

class CodePageTest : public testing::TestWithParam<CodePageCase> {};

TEST_P(CodePageTest, BothWays) {
    EXPECT_EQ(qxos::MultiByteToWide(GetParam().bytes), GetParam().wide);
    EXPECT_EQ(qxos::WideToMultiByte(GetParam().wide), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Characters, CodePageTest,
                         testing::Values(CodePageCase{"", L""}, CodePageCase{"abc", L"abc"},
                                         CodePageCase{"\xC2\x80\xDF\xBF", L"\x80\x7FF"},
                                         CodePageCase{"\xE0\xA0\x80\xEF\xBF\xBF", L"\x800\xFFFF"},
                                         CodePageCase{"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
                                                      L"\x10000\x10FFFF"}));

struct BrokenCase {
    const char* bytes;
    const wchar_t* wide;
};

class BrokenBytesTest : public testing::TestWithParam<BrokenCase> {};

TEST_P(BrokenBytesTest, GiveReplacements) {
    EXPECT_EQ(qxos::MultiByteToWide(GetParam().bytes), GetParam().wide);
}

INSTANTIATE_TEST_SUITE_P(Sequences, BrokenBytesTest,
                         testing::Values(BrokenCase{"a\x80z", L"a\xFFFDz"}, BrokenCase{"\xC3", L"\xFFFD"},
                                         BrokenCase{"\xC0\x80", L"\xFFFD\xFFFD"},
                                         BrokenCase{"\xC3z", L"\xFFFDz"},
                                         BrokenCase{"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},
                                         BrokenCase{"\xE0\x80\x80", L"\xFFFD\xFFFD\xFFFD"},
                                         BrokenCase{"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
                                         BrokenCase{"\xF5\x80", L"\xFFFD\xFFFD"},
                                         BrokenCase{"\xFF", L"\xFFFD"}));

// The characters of the bytes, as numbers.
std::vector<unsigned long> WideOf(const std::string& bytes) {
    std::vector<wchar_t> wide(bytes.size());
    const std::size_t count = qxos::BytesToWide(bytes, nullptr);
    EXPECT_EQ(qxos::BytesToWide(bytes, wide.data()), count);
    EXPECT_EQ(qxos::WideToBytes(wide.data(), count), bytes);
    return std::vector<unsigned long>(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(count));
}

TEST(BytesTest, CharactersAndStrayBytesComeBackAsTheSameBytes) {
    using Codes = std::vector<unsigned long>;
    EXPECT_EQ(WideOf(""), Codes());
    EXPECT_EQ(WideOf(std::string("a\0b", 3)), (Codes{'a', 0, 'b'}));
    EXPECT_EQ(WideOf("\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"), (Codes{0xE9, 0x4E2D, 0x1F600}));
    // A character that stands for a broken one is a character.
    EXPECT_EQ(WideOf("\xEF\xBF\xBD"), (Codes{0xFFFD}));
    // Latin-1, a cut sequence, an overlong one, an encoded surrogate, one beyond the last character.
    EXPECT_EQ(WideOf("\xE9t\xE9"), (Codes{0xDCE9, 't', 0xDCE9}));
    EXPECT_EQ(WideOf("\xE4\xB8"), (Codes{0xDCE4, 0xDCB8}));
    EXPECT_EQ(WideOf("\xC0\x80"), (Codes{0xDCC0, 0xDC80}));
    EXPECT_EQ(WideOf("\xED\xB2\x80"), (Codes{0xDCED, 0xDCB2, 0xDC80}));
    EXPECT_EQ(WideOf("\xF4\x90\x80\x80"), (Codes{0xDCF4, 0xDC90, 0xDC80, 0xDC80}));
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(WideOf(all).size(), 256U);
    EXPECT_EQ(WideOf(all + all + "\xC3" + all).size(), 769U);
}

}  // namespace
