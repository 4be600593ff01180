#include "storage/editable_var_length_storage.h"

#include <cstring>
#include <limits>
#include <stdexcept>

namespace qxdbsqlengine {

namespace {

constexpr std::size_t LengthAt = 4;
constexpr std::size_t FirstCellAt = 8;

bool IsLong(const unsigned char* slot) {
    return slot[0] == 0;
}

std::uint32_t LongLength(const unsigned char* slot) {
    std::uint32_t length;
    std::memcpy(&length, slot + LengthAt, sizeof length);
    return length;
}

int FirstCell(const unsigned char* slot) {
    int id;
    std::memcpy(&id, slot + FirstCellAt, sizeof id);
    return id;
}

void CheckLength(std::size_t length) {
    if (length > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("A value of 4 GiB or more can't be kept in editable results");
}

}  // namespace

EditableVarLengthStorage::~EditableVarLengthStorage() {
    while (Count() > 0)
        RemoveLast();
}

void EditableVarLengthStorage::Append(const char* data, std::size_t length) {
    CheckLength(length);
    unsigned char* const slot = slots.Append();
    try {
        Write(slot, data, length);
    } catch (...) {
        slots.RemoveLast();
        throw;
    }
}

void EditableVarLengthStorage::Set(int i, const char* data, std::size_t length) {
    CheckLength(length);
    unsigned char* const slot = slots.Slot(i);
    FreeChain(slot);
    slot[0] = 1;  // empty, should the new chain be refused
    Write(slot, data, length);
}

void EditableVarLengthStorage::RemoveLast() {
    if (Count() == 0)
        return;
    FreeChain(slots.Slot(Count() - 1));
    slots.RemoveLast();
}

void EditableVarLengthStorage::MoveDown(int end) {
    slots.MoveDown(end);
    for (int i = 0; i < Count(); ++i) {
        unsigned char* const slot = slots.Slot(i);
        if (IsLong(slot))
            cell_chain::MoveDown(*cells, slot + FirstCellAt, LongLength(slot), end);
    }
}

void EditableVarLengthStorage::FreeChain(unsigned char* slot) {
    if (IsLong(slot))
        cell_chain::Free(*cells, FirstCell(slot), LongLength(slot));
}

void EditableVarLengthStorage::Write(unsigned char* slot, const char* data, std::size_t length) {
    if (length <= kShortBytes) {
        slot[0] = static_cast<unsigned char>(length + 1);
        if (length > 0)
            std::memcpy(slot + 1, data, length);
        return;
    }
    const int first = cell_chain::Write(*cells, data, length);
    const std::uint32_t longLength = static_cast<std::uint32_t>(length);
    std::memset(slot, 0, LengthAt);
    std::memcpy(slot + LengthAt, &longLength, sizeof longLength);
    std::memcpy(slot + FirstCellAt, &first, sizeof first);
}

CellBytes EditableVarLengthStorage::Bytes(int i) {
    const unsigned char* const slot = slots.Slot(i);
    if (!slot)
        return CellBytes();
    if (IsLong(slot))
        return CellBytes(*cells, FirstCell(slot), LongLength(slot));
    return CellBytes(slot + 1, static_cast<std::size_t>(slot[0]) - 1);
}

std::string EditableVarLengthStorage::Read(int i) {
    std::string text;
    ReadAppend(i, text);
    return text;
}

void EditableVarLengthStorage::ReadAppend(int i, std::string& out) {
    CellBytes bytes = Bytes(i);
    out.reserve(out.size() + bytes.Length());
    for (; bytes.Length() > 0; bytes.Skip(bytes.PieceLength()))
        out.append(bytes.Piece(), bytes.PieceLength());
}

std::size_t EditableVarLengthStorage::ReadPart(int i, __int64 offset, char* out, std::size_t count) {
    CellBytes bytes = Bytes(i);
    if (offset < 0 || offset >= static_cast<__int64>(bytes.Length()))
        return 0;
    bytes.Skip(static_cast<std::size_t>(offset));
    return bytes.Take(out, count);
}

bool EditableVarLengthStorage::ViewInPlace(int i, std::string_view& view) {
    const CellBytes bytes = Bytes(i);
    if (!bytes.IsOnePiece())
        return false;
    view = std::string_view(bytes.Piece(), bytes.Length());
    return true;
}

std::string_view EditableVarLengthStorage::View(int i, std::string& scratch) {
    std::string_view view;
    if (ViewInPlace(i, view))
        return view;
    scratch.clear();
    ReadAppend(i, scratch);
    return scratch;
}

bool EditableVarLengthStorage::Equals(int i, const std::string& text) {
    CellBytes bytes = Bytes(i);
    if (bytes.Length() != text.size())
        return false;
    const char* expected = text.data();
    while (bytes.Length() > 0) {
        const std::size_t step = bytes.PieceLength();
        if (std::memcmp(bytes.Piece(), expected, step) != 0)
            return false;
        expected += step;
        bytes.Skip(step);
    }
    return true;
}

}  // namespace qxdbsqlengine
