// Splits scripts in tests, in all encodings and cut into pieces of any size.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "scriptparser/item.h"
#include "scriptparser/script_source.h"

namespace split_support {

enum Flag : unsigned int { Run = 0, Skip = 1, Call = 2, Copy = 4 };

// An item as a test writes it.
struct Row {
    long line = 0;
    std::string text;
    unsigned int flags = Run;

    bool operator==(const Row& other) const {
        return line == other.line && text == other.text && flags == other.flags;
    }
};
std::ostream& operator<<(std::ostream& out, const Row& row);

struct Case {
    const char* name;  // letters and digits
    std::string script;
    std::vector<Row> rows;
};
std::ostream& operator<<(std::ostream& out, const Case& someCase);
std::string CaseName(const testing::TestParamInfo<Case>& info);

// What came out of a splitter.
struct Result {
    std::vector<Row> rows;
    std::vector<std::uint64_t> offsets;
};

enum class Encoding { Utf8, Utf8Mark, Little, LittleMark, Big, BigMark };
constexpr Encoding kEncodings[] = {Encoding::Utf8,       Encoding::Utf8Mark, Encoding::Little,
                                   Encoding::LittleMark, Encoding::Big,      Encoding::BigMark};
std::string Encode(std::string_view utf8, Encoding encoding);
// Bytes that the text takes, with the mark of the encoding.
std::size_t EncodedSize(std::string_view utf8, Encoding encoding);

// Gives the bytes in pieces of at most `size`.
class PieceSource final : public qxscriptparser::ScriptSource {
  public:
    PieceSource(std::string_view someBytes, std::size_t pieceSize) : rest(someBytes), size(pieceSize) {}
    std::size_t Read(char* to, std::size_t count) override;

  private:
    std::string_view rest;
    const std::size_t size;
};

Result SplitFrom(qxscriptparser::ScriptSource& source, const std::string& parserName,
                 const std::string& separator);
Result Split(std::string_view bytes, const std::string& parserName, const std::string& separator,
             std::size_t pieceSize = 1 << 20);

// The rows of the case, in all encodings and piece sizes, with ends that lie at the same characters.
void ExpectSplit(const Case& someCase, const std::string& parserName, const std::string& separator);

}  // namespace split_support
