#include "storage/var_length_storage.h"

#include <algorithm>
#include <cstring>

namespace qxdbsqlengine {

VarLengthStorage::VarLengthStorage(PageAlloc& alloc, __int64 bigOffsetsFrom)
    : offsets(alloc), bigOffsets(alloc), bytes(alloc), bigFrom(bigOffsetsFrom) {
    offsets.PushBack(0);
}

VarLengthStorage::~VarLengthStorage() = default;

VarLengthStorage::Place VarLengthStorage::FindFar(int i) {
    if (i < 0)
        return {0, 0};
    const __int64 from = Offset(i);
    const __int64 to = Offset(static_cast<__int64>(i) + 1);
    return {from, std::max<__int64>(to - from, 0)};
}

std::string VarLengthStorage::Read(int i) {
    std::string text;
    ReadAppend(i, text);
    return text;
}

void VarLengthStorage::ReadAppend(int i, std::string& out) {
    Place place = Find(i);
    while (place.length > 0) {
        __int64 count = 0;
        const char* piece = bytes.Span(place.from, count);
        count = std::min(count, place.length);
        if (count == 0)
            return;
        out.append(piece, static_cast<std::size_t>(count));
        place.from += count;
        place.length -= count;
    }
}

std::size_t VarLengthStorage::ReadPart(int i, __int64 offset, char* out, std::size_t count) {
    const Place place = Find(i);
    if (offset < 0 || offset >= place.length)
        return 0;
    const __int64 length = std::min(place.length - offset, static_cast<__int64>(count));
    bytes.Read(place.from + offset, out, length);
    return static_cast<std::size_t>(length);
}

bool VarLengthStorage::ViewInPlace(int i, std::string_view& view, int j, std::string_view& other) {
    const Place place = Find(i);
    const Place otherPlace = Find(j);
    // The second look may drop the view of the first value; the third brings it back, and the allocator keeps
    // the two newest views.
    return ViewInPlace(place, view) && ViewInPlace(otherPlace, other) && ViewInPlace(place, view);
}

std::string_view VarLengthStorage::View(int i, std::string& scratch) {
    std::string_view view;
    if (ViewInPlace(i, view))
        return view;
    scratch.clear();
    ReadAppend(i, scratch);
    return scratch;
}

bool VarLengthStorage::Equals(int i, const std::string& text) {
    const Place place = Find(i);
    if (place.length != static_cast<__int64>(text.size()))
        return false;
    __int64 done = 0;
    while (done < place.length) {
        __int64 count = 0;
        const char* piece = bytes.Span(place.from + done, count);
        count = std::min(count, place.length - done);
        if (count == 0 || std::memcmp(piece, text.data() + done, static_cast<std::size_t>(count)) != 0)
            return false;
        done += count;
    }
    return true;
}

VarLengthStorage::Iterator VarLengthStorage::End(int i) {
    const Place place = Find(i);
    return Iterator(&bytes, place.from + place.length);
}

}  // namespace qxdbsqlengine
