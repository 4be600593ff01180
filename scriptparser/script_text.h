// The part of a script that is in memory.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "scriptparser/script_source.h"
#include "scriptparser/text_decoder.h"

namespace qxscriptparser {

// Where a byte stands in the script as UTF-8, from 0, without the byte order mark.
using Position = std::uint64_t;

// The script as UTF-8 in one stretch of memory, from the first byte that is still wanted to the last that was
// read. Read in pieces, when somebody asks for more; what was dropped goes with the next piece, so that
// memory holds the longest statement and not the script.
//
// A zero byte follows the last one that was read, and there is no other: loops over bytes stop there by
// themselves. Pointers and views are valid until More.
class ScriptText {
  public:
    // `stop` set by another thread ends the script at the next piece. Both must outlive the object.
    ScriptText(ScriptSource& newSource, const std::atomic<bool>& newStop);

    // Reads on. False at the end of the script. Throws ScriptError: no text, or what the source throws.
    bool More();
    bool Stopped() const { return stop; }

    // What was read and not dropped.
    Position Begin() const { return base; }
    Position End() const { return base + size; }
    const char* Data(Position at) const { return data.get() + (at - base); }
    // The zero byte at End().
    char At(Position at) const { return *Data(at); }
    std::string_view View(Position from, Position to) const {
        return {Data(from), static_cast<std::size_t>(to - from)};
    }

    // Nothing before `at` is wanted any more.
    void DropTo(Position at);
    // Puts blanks in the place of a client's command within a statement.
    void Blank(Position from, Position to);

    // Line, from 1, and offset in bytes as they came from the source. Line feed, carriage return and both
    // together end a line. REQUIRES: no position is before one that was asked for or dropped earlier.
    long LineOf(Position at);
    std::uint64_t OffsetOf(Position at);

  private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    void MakeRoom();
    void Resize(std::size_t newCapacity);
    void CountTo(Position at);
    [[noreturn]] void RefuseZero();

    ScriptSource& source;
    const std::atomic<bool>& stop;
    TextDecoder decoder;
    std::vector<char> piece;  // bytes of the source
    std::size_t inPiece = 0;  // that were not yet decoded
    bool atEnd = false;
    std::uint64_t bytesRead = 0;

    std::unique_ptr<char, Free> data;  // from malloc, which can grow large blocks without copying
    std::size_t capacity = 0;
    std::size_t size = 0;
    Position base = 0;    // of data[0]
    Position wanted = 0;  // what was not dropped

    // Up to `counted`:
    Position counted = 0;
    long lineEnds = 0;
    char lastByte = '\0';
    std::uint64_t units = 0;       // of UTF-16
    std::uint64_t extraBytes = 0;  // by which characters of one byte grew
};

}  // namespace qxscriptparser
