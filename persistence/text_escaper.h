// Puts escapes for the characters that mean something to the reader of a markup file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "persistence/output_buffer.h"

namespace qxdbsqlengine {

// One escape of a table.
struct Escape {
    char byte;
    std::string_view text;
};

// A table of escapes. Constant after construction, so any thread may use one object.
//
//                          Html()                 Excel()                     Xml()
//   tab                    four &nbsp;            four &nbsp; in a SPAN       itself
//   LF                     <br>                   <br>                        &#10;
//   CR LF                  one <br>               one <br>                    one &#10;
//   CR alone               one blank              one blank                   &#13;
//   two or more blanks     &nbsp; for each        &nbsp; for each in a SPAN   themselves
//   one blank              itself                 itself                      itself
//   "                      &quot;                 &quot;                      itself
//   & < >                  &amp; &lt; &gt;        &amp; &lt; &gt;             &amp; &lt; &gt;
//
// All other bytes pass unchanged, NUL and broken UTF-8 included. Values are walked byte by byte: every byte
// of a longer character is above all bytes of the table, in UTF-8 and in the double-byte code pages alike.
class TextEscaper {
  public:
    static const TextEscaper& Html();
    static const TextEscaper& Excel();
    static const TextEscaper& Xml();

    // Appends the escaped text. Texts without a special byte cost one look at each eight bytes.
    void Append(std::string_view text, OutputBuffer& out) const;
    // The escaped text; nothing for null.
    std::string Encode(const char* text) const;

  private:
    // `blankRuns`: runs of blanks are escaped, between `open` and `close`.
    TextEscaper(std::initializer_list<Escape> escapes, bool blankRuns, std::string_view open,
                std::string_view close);

    bool StopsAt(std::string_view text, std::size_t at) const;
    std::size_t CopyPlain(std::string_view text, char* to) const;
    std::size_t AppendEscape(std::string_view text, OutputBuffer& out) const;

    std::string_view escapes[256];  // no data: the byte stands for itself
    std::uint64_t blankMask;        // all ones when runs of blanks are escaped, else 0
    std::string_view runOpen;
    std::string_view runClose;
};

}  // namespace qxdbsqlengine
