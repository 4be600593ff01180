// Places in the SQL text that a caller gave.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace qxdrivers::sqlite {

// Line and byte position in a text, both from 1; 0 is unknown.
struct Place {
    int line = 0;
    int position = 0;
};

// `offset` counts bytes from 0 and may be the end of the text.
Place FindPlace(std::string_view text, std::size_t offset);

// Offset of the first byte at or behind `offset` that is no blank, comment or semicolon; the size of the text
// when there is none.
std::size_t SkipBlank(std::string_view text, std::size_t offset);

// The word at `offset` in upper case, empty when no letter stands there.
std::string WordAt(std::string_view text, std::size_t offset);

// One statement in a text: the text, shared by all that may have to name a place in it, and where the
// statement's first word stands.
struct SourceText {
    std::shared_ptr<const std::string> text;
    std::size_t begin = 0;

    Place Begin() const { return text ? FindPlace(*text, begin) : Place(); }
};

}  // namespace qxdrivers::sqlite
