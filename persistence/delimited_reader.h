// Splits delimited text into records and fields.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "persistence/byte_source.h"

namespace qxdbsqlengine {

// Reads records of delimited text in large blocks. One thread at a time; the source is not owned and must
// outlive the reader. A field may be as long as memory allows and may hold any byte, NUL included.
//
// A record is a line; it ends at LF or CR LF, the last one also at the end of the input. Fields stand between
// separators. With quotes on, both ' and " quote (less the separator, should it be one of them):
//
//   - A field that begins with a quote, white space before it apart, is quoted up to the next such quote. The
//     quotes are dropped, the white space stays.
//   - Inside quotes every byte stands for itself, line ends and the other quote included, and two of the
//     quotes stand for one. A quote that is never closed ends with the input.
//   - Outside quotes two equal quotes stand for one when no third follows, and any other quote behind the
//     beginning of a field stands for itself.
//
// An empty line is a record without fields. A byte order mark of UTF-8 at the very beginning is skipped.
class DelimitedReader {
  public:
    static constexpr std::size_t kBlock = 1024 * 1024;

    // `block`: bytes asked of the source at once, at least 4.
    explicit DelimitedReader(ByteSource& byteSource, std::size_t block = kBlock);

    // Starts again at the source's present position, which is taken as the beginning of a file.
    void Start();
    void SetFormat(char separator, bool quotes);

    // Reads one record; `fields` holds exactly its fields then, and strings that it held are used again.
    // False, with no fields, at the end of the input.
    bool ReadRecord(std::vector<std::string>& fields);
    // True when no byte is left.
    bool AtEnd() { return Available(1) == 0; }

    // Bytes worked off since Start.
    long long Position() const { return blockOffset + static_cast<long long>(next); }
    // 1-based line in which the last record began.
    long long RecordLine() const { return recordLine; }
    // 1-based line of the quote that was still open at the end of the input, 0 when there was none.
    long long UnclosedQuoteLine() const { return unclosedQuoteLine; }

    // Gives the block's memory back until the next Start.
    void Release();

  private:
    // At least `count` bytes from `next` on, fewer only at the end of the input. Returns how many there are.
    std::size_t Available(std::size_t count) { return end - next >= count ? end - next : Refill(count); }
    std::size_t Refill(std::size_t count);
    void SkipByteOrderMark();
    bool SkipLineEnd();
    bool ReadField(std::string& field);
    void AppendRun(std::string& field);
    void ReadQuote(std::string& field, std::size_t& blankPrefix);
    void ReadQuoted(std::string& field, char quote);

    ByteSource& source;
    const std::size_t blockSize;
    std::unique_ptr<char[]> block;
    std::size_t next = 0;  // first byte of the block that is not worked off
    std::size_t end = 0;
    long long blockOffset = 0;  // position of the block's first byte in the input
    bool sourceEnded = false;
    bool atStart = true;  // nothing was read since Start
    long long line = 1;
    long long recordLine = 0;
    long long unclosedQuoteLine = 0;

    char separatorByte = ',';
    bool isQuote[256];
    bool stops[256];  // bytes that end a run of ordinary bytes outside quotes
};

}  // namespace qxdbsqlengine
