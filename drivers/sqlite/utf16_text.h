// Text of databases that keep it in UTF-16.
#pragma once

#include <string>
#include <string_view>

namespace qxdrivers::sqlite {

// Makes UTF-8 of UTF-16 bytes that come in pieces, which may end anywhere. What is no character becomes
// U+FFFD. One thread at a time.
class Utf16Reader {
  public:
    explicit Utf16Reader(bool isBigEndian) : bigEndian(isBigEndian) {}

    // Appends the text of the piece, but for a character that goes on in the next one.
    void Add(std::string_view bytes, std::string& text);
    // Appends what an incomplete character at the end becomes.
    void Finish(std::string& text);

  private:
    void AddUnit(unsigned int unit, std::string& text);

    const bool bigEndian;
    int oddByte = -1;          // the first of a unit that a piece cut in two
    unsigned int leading = 0;  // the first half of a pair; 0 when there is none
};

}  // namespace qxdrivers::sqlite
