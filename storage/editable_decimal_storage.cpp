#include "storage/editable_decimal_storage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "storage/decimal_parts.h"
#include "storage/sort_key_parts.h"

namespace qxdbsqlengine {

namespace {

constexpr std::size_t CountAt = 2;
constexpr std::size_t DigitsAt = 4;
// The slot has no place of its own for the sign.
constexpr std::uint16_t NegativeBit = 0x8000;
static_assert(qxdb::Decimal::MaxScale < NegativeBit, "the scale leaves the bit free");

std::uint16_t Word(const unsigned char* slot, std::size_t at) {
    std::uint16_t word;
    std::memcpy(&word, slot + at, sizeof word);
    return word;
}

void PutHeader(unsigned char* slot, std::uint16_t scale, std::uint16_t digits) {
    std::memcpy(slot, &scale, sizeof scale);
    std::memcpy(slot + CountAt, &digits, sizeof digits);
}

int FirstCell(const unsigned char* slot) {
    int id;
    std::memcpy(&id, slot + DigitsAt, sizeof id);
    return id;
}

}  // namespace

EditableDecimalStorage::EditableDecimalStorage(CellAlloc& cellAlloc, int columnPrecision)
    : cells(cellAlloc), slots(cellAlloc, kSlotBytes), precision(std::max(columnPrecision, 0)) {}

EditableDecimalStorage::~EditableDecimalStorage() {
    while (slots.Count() > 0)
        RemoveLast();
}

void EditableDecimalStorage::ReadInto(int row, qxdb::Decimal& value) {
    const unsigned char* const slot = slots.Slot(row);
    if (!slot) {
        value = qxdb::Decimal();
        return;
    }
    const std::uint16_t scale = Word(slot, 0);
    const std::size_t count = Word(slot, CountAt);
    const unsigned char* digits = slot + DigitsAt;
    if (count > kShortDigits) {
        scratch.resize(count);
        CellBytes(cells, FirstCell(slot), count).Take(&scratch[0], count);
        digits = reinterpret_cast<const unsigned char*>(scratch.data());
    }
    value.SetFromBytes((scale & NegativeBit) != 0, scale & ~NegativeBit, digits, count);
}

qxdb::Decimal EditableDecimalStorage::AsDecimal(int row) {
    qxdb::Decimal value;
    ReadInto(row, value);
    return value;
}

std::string EditableDecimalStorage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void EditableDecimalStorage::InsertDecimal(const qxdb::Decimal& value) {
    unsigned char* const slot = slots.Append();
    try {
        Write(slot, value);
    } catch (...) {
        slots.RemoveLast();
        throw;
    }
}

void EditableDecimalStorage::InsertEmpty() {
    InsertDecimal(qxdb::Decimal());
}

void EditableDecimalStorage::SetDecimal(int row, const qxdb::Decimal& value) {
    unsigned char* const slot = slots.Slot(row);
    FreeChain(slot);
    PutHeader(slot, 0, 0);  // 0, should the new chain be refused
    Write(slot, value);
}

void EditableDecimalStorage::SetEmpty(int row) {
    SetDecimal(row, qxdb::Decimal());
}

void EditableDecimalStorage::RemoveLast() {
    if (slots.Count() == 0)
        return;
    FreeChain(slots.Slot(slots.Count() - 1));
    slots.RemoveLast();
}

void EditableDecimalStorage::MoveDown(int end) {
    slots.MoveDown(end);
    for (int row = 0; row < slots.Count(); ++row) {
        unsigned char* const slot = slots.Slot(row);
        const std::size_t count = Word(slot, CountAt);
        if (count > kShortDigits)
            cell_chain::MoveDown(cells, slot + DigitsAt, count, end);
    }
}

void EditableDecimalStorage::FreeChain(const unsigned char* slot) {
    const std::size_t count = Word(slot, CountAt);
    if (count > kShortDigits)
        cell_chain::Free(cells, FirstCell(slot), count);
}

void EditableDecimalStorage::Write(unsigned char* slot, const qxdb::Decimal& value) {
    const std::uint16_t scale =
        static_cast<std::uint16_t>(value.GetScale() | (value.IsNegative() ? NegativeBit : 0));
    const std::size_t count = value.AppendMagnitudeBytes(slot + DigitsAt, kShortDigits);
    if (count > kShortDigits) {
        if (count > std::numeric_limits<std::uint16_t>::max())
            throw std::length_error("A decimal number of so many digits can't be kept in editable results");
        scratch.resize(count);
        value.AppendMagnitudeBytes(reinterpret_cast<unsigned char*>(&scratch[0]), count);
        const int first = cell_chain::Write(cells, scratch.data(), count);
        std::memcpy(slot + DigitsAt, &first, sizeof first);
    }
    PutHeader(slot, scale, static_cast<std::uint16_t>(count));
}

int EditableDecimalStorage::CompareItems(int row1, int row2, int) {
    ReadInto(row1, decimal1);
    ReadInto(row2, decimal2);
    return decimal1.Compare(decimal2);
}

void EditableDecimalStorage::SetPrecision(int newPrecision) {
    precision = std::max(newPrecision, 0);
}

int EditableDecimalStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureDecimals(*this, slots.Count(), locale, callback,
                           [this](int row, qxdb::Decimal& value) { ReadInto(row, value); });
}

void EditableDecimalStorage::AppendString(int row, const CellFormat& format, std::string& out) {
    ReadInto(row, decimal1);
    AppendDecimalText(decimal1, format.DecimalPoint(), precision, out);
}

std::string_view EditableDecimalStorage::ViewString(int row, const CellFormat& format, std::string& buffer) {
    ReadInto(row, decimal1);
    return ViewDecimalText(decimal1, format.DecimalPoint(), precision, buffer);
}

void EditableDecimalStorage::PutSortKeys(SortKeySink& sink) {
    PutAppendedSortKeys(*this, sink);
}

void EditableDecimalStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                           std::string& out) {
    ReadInto(row, decimal1);
    AppendDecimalSortKey(decimal1, position, maxBytes, out);
}

}  // namespace qxdbsqlengine
