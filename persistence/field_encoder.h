// Turns a value into a field of delimited text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "persistence/output_buffer.h"

namespace qxdbsqlengine {

// What decides how a value looks in the file.
struct FieldRules {
    char delimiter = ',';
    char quote = '"';
    bool quoteByNeed =
        true;  // line ends and delimiters are kept and ask for quotes; false: they become blanks
    bool expandTabs = true;  // a tab becomes four blanks
    bool mayQuote = true;    // false: no quotes around a field, whatever it holds
};

// Encodes values by fixed rules. Constant between two calls of SetRules; one thread at a time.
//
//   in the value                             without quoteByNeed    with quoteByNeed
//   CR LF                                    one blank              LF, needs quotes
//   CR alone                                 one blank              one blank
//   LF                                       one blank              itself, needs quotes
//   the delimiter                            one blank              itself, needs quotes
//   tab, with expandTabs                     four blanks            four blanks
//   tab, without, tab is the delimiter       one blank              itself, needs quotes
//   tab, without, otherwise                  itself                 itself
//
// A value that begins with the quote needs quotes, whatever quoteByNeed says; a quote behind the first
// character does not ask for them. In a quoted field every quote is doubled. An empty value stays empty.
//
// Values are walked byte by byte: in UTF-8 every byte of a longer character is 0x80 or above, while all bytes
// of the table are below, so no part of a character is taken for one of them. Bytes that are no valid UTF-8
// pass unchanged.
class FieldEncoder {
  public:
    FieldEncoder() { SetRules(FieldRules()); }

    void SetRules(const FieldRules& newRules);
    const FieldRules& GetRules() const { return rules; }

    // Appends the field. Most values hold nothing special; they cost one look at each eight bytes.
    void Append(std::string_view value, OutputBuffer& out) const;

  private:
    bool NeedsQuotes(std::string_view value, std::size_t from) const;
    void AppendReplacing(std::string_view value, bool quoted, OutputBuffer& out) const;
    std::size_t AppendSpecial(std::string_view value, bool quoted, OutputBuffer& out) const;

    FieldRules rules;
    bool special[256];            // bytes that do not go into a bare field as they are
    bool specialInQuotes[256];    // and with quoteByNeed into a quoted one
    std::uint64_t delimiterWord;  // the delimiter in each of eight bytes
    std::uint64_t quoteWord;
};

}  // namespace qxdbsqlengine
