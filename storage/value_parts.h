// What columns of texts and of byte strings do alike, whatever holds their values: a VarLengthStorage or an
// EditableVarLengthStorage. `Source` is the matching SortKeySource, made of the values and a row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/int64.h"
#include "storage/natural_compare.h"
#include "storage/sort_key.h"

namespace qxdbsqlengine {

// The natural comparison of two texts.
template <class Values>
int CompareTexts(Values& values, int row1, int row2, int option) {
    const FoldTable& fold = FoldTable::Current();
    std::string_view a;
    std::string_view b;
    if (values.ViewInPlace(row1, a, row2, b))
        return NaturalCompare(a.data(), a.data() + a.size(), b.data(), b.data() + b.size(), fold, option);
    return NaturalCompare(values.Begin(row1), values.End(row1), values.Begin(row2), values.End(row2), fold,
                          option);
}

template <class Iterator>
int CompareUnsigned(Iterator a, Iterator end, Iterator b) {
    for (; a != end; ++a, ++b) {
        const unsigned char x = static_cast<unsigned char>(*a);
        const unsigned char y = static_cast<unsigned char>(*b);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

// The shorter byte string is less; at equal lengths by unsigned bytes.
template <class Values>
int CompareBinaries(Values& values, int row1, int row2) {
    const __int64 length1 = values.Length(row1);
    const __int64 length2 = values.Length(row2);
    if (length1 != length2)
        return length1 < length2 ? -1 : 1;
    std::string_view a;
    std::string_view b;
    if (values.ViewInPlace(row1, a, row2, b))
        return CompareUnsigned(a.data(), a.data() + a.size(), b.data());
    return CompareUnsigned(values.Begin(row1), values.End(row1), values.Begin(row2));
}

// Puts the wanted part of the sort key of each text that the sink lists.
template <class Source, class Values>
void PutTextSortKeys(Values& values, SortKeySink& sink) {
    constexpr std::size_t GreatestPart = 12;  // bytes of a sort key part
    constexpr std::size_t HeadBytes = 64;     // of a text in pieces; enough for nearly every part
    const TextSortKey encoder;
    unsigned char part[GreatestPart];
    char head[HeadBytes];
    std::string encoded;
    for (std::size_t i = 0; i < sink.Count(); ++i) {
        const int row = sink.Row(i);
        const SortKeyPosition& from = sink.Position();
        std::string_view text;
        bool whole = values.ViewInPlace(row, text);
        if (whole) {
            text.remove_prefix(std::min(text.size(), static_cast<std::size_t>(from.offset)));
        } else {
            text = std::string_view(head, values.ReadPart(row, from.offset, head, sizeof head));
            whole = from.offset + static_cast<__int64>(text.size()) >= values.Length(row);
        }
        if (!encoder.Part(text.data(), text.size(), whole, from.skip, part)) {
            Source source(values, row);
            SortKeyPosition position = from;
            encoded.clear();
            encoder.Append(source, position, sink.PartSize(), encoded);
            encoded.resize(GreatestPart, '\0');
            encoded.copy(reinterpret_cast<char*>(part), GreatestPart);
        }
        sink.PutBytes(i, part);
    }
}

}  // namespace qxdbsqlengine
