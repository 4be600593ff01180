#include "storage/string_storage.h"

#include <algorithm>

#include "storage/measure_texts.h"
#include "storage/natural_compare.h"

namespace qxdbsqlengine {

namespace {

const std::size_t kGreatestPart = 12;  // bytes of a sort key part
const std::size_t kHeadBytes = 64;  // of a text that does not lie side by side; enough for nearly every part

}  // namespace

StringStorage::~StringStorage() = default;

int StringStorage::CompareItems(int row1, int row2, int option) {
    const FoldTable& fold = FoldTable::Current();
    std::string_view a;
    std::string_view b;
    if (values.ViewInPlace(row1, a, row2, b))
        return NaturalCompare(a.data(), a.data() + a.size(), b.data(), b.data() + b.size(), fold, option);
    return NaturalCompare(values.Begin(row1), values.End(row1), values.Begin(row2), values.End(row2), fold,
                          option);
}

int StringStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    return MeasureTexts(values, callback,
                        [this](int row, std::string& text) { values.ReadAppend(row, text); });
}

void StringStorage::PutSortKeys(SortKeySink& sink) {
    const TextSortKey encoder;
    unsigned char part[kGreatestPart];
    char head[kHeadBytes];
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
            VarLengthSortSource source(values, row);
            SortKeyPosition position = from;
            encoded.clear();
            encoder.Append(source, position, sink.PartSize(), encoded);
            encoded.resize(kGreatestPart, '\0');
            encoded.copy(reinterpret_cast<char*>(part), kGreatestPart);
        }
        sink.PutBytes(i, part);
    }
}

void StringStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                  std::string& out) {
    VarLengthSortSource source(values, row);
    TextSortKey().Append(source, position, maxBytes, out);
}

NamedTypeStorage::~NamedTypeStorage() = default;

}  // namespace qxdbsqlengine
