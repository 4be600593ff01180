// UTF-8 to the 16-bit text of the parser interface.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace qxscriptparser {

// A text that is written again and again; its memory is kept, unless it was for a very long one.
class WideText {
  public:
    // UTF-16 with a zero behind it, valid until the next call. Half surrogates in their three bytes come out
    // as they went in. REQUIRES: complete characters.
    const unsigned short* Assign(std::string_view utf8);

  private:
    std::unique_ptr<unsigned short[]> units;
    std::size_t capacity = 0;
};

}  // namespace qxscriptparser
