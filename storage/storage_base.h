// Paged arrays. The first 64 KiB of an array lie in small heap chunks, the rest in pages of the container's
// allocator, so a small result set never touches a page. Items never move; growth copies nothing.
//
// Item i lies below PageSize / sizeof(T) items in chunk i * sizeof(T) / 1024, else in page i * sizeof(T) /
// PageSize less 1. Not thread-safe: the owning container serialises all use, reads included (see
// cache_file_alloc.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <deque>
#include <iterator>
#include <memory>
#include <type_traits>

#include "platform/int64.h"
#include "storage/cache_file_alloc.h"
#include "storage/column_definition.h"

namespace qxdbsqlengine {

template <class Array, class T>
class StorageIterator;

template <class T, class SizeType, int PageSize>
class StorageBase {
  public:
    static constexpr int kChunkBytes = 1024;
    static constexpr int kChunks = PageSize / kChunkBytes;
    static constexpr SizeType kChunkItems = kChunkBytes / sizeof(T);
    static constexpr SizeType kPageItems = PageSize / sizeof(T);
    static_assert(std::is_trivially_copyable<T>::value && kChunkBytes % sizeof(T) == 0,
                  "items of 1 to 16 bytes");

    using value_type = T;
    using size_type = SizeType;
    using Iterator = StorageIterator<StorageBase, T>;

    // The allocator must outlive the array.
    explicit StorageBase(StorageAlloc<PageSize>& pageAlloc) : alloc(pageAlloc) {}
    StorageBase(const StorageBase&) = delete;
    StorageBase& operator=(const StorageBase&) = delete;
    ~StorageBase() {
        for (T*& chunk : chunks) {
            delete[] chunk;
            chunk = nullptr;
        }
        Clear();
    }

    // Throws std::bad_alloc when a chunk or page is refused; the array is then unchanged.
    void PushBack(const T& value) {
        if (size == tailEnd) {
            const T copy = value;  // `value` may lie in a page whose view is dropped now
            NextTail();
            Tail()[size & tailMask] = copy;
        } else {
            Tail()[size & tailMask] = value;
        }
        ++size;
    }

    // Gives no memory back.
    void RemoveBack() {
        if (size > 0)
            tailEnd = --size;  // the next append looks its place up again
    }

    // A row beyond the end reads the zero item, which all callers of this instance share. The reference is
    // valid until the next operation on anything of the same container.
    T& GetItem(SizeType i) {
        if (static_cast<Unsigned>(i) < static_cast<Unsigned>(size)) {
            if (T* item = ptr(i))
                return *item;
        }
        static T nullReturn{};
        return nullReturn;
    }

    // Copies items [from, from + count). REQUIRES: they exist.
    void Read(SizeType from, T* out, SizeType count) {
        while (count > 0) {
            const SizeType n = std::min(count, openItems(from));
            std::memcpy(out, ptr(from), static_cast<std::size_t>(n) * sizeof(T));
            out += n;
            from += n;
            count -= n;
        }
    }

    // Appends. REQUIRES: `in` does not lie in pages of the same container.
    void Write(const T* in, SizeType count) {
        while (count > 0) {
            if (size == tailEnd)
                NextTail();
            const SizeType n = std::min(count, static_cast<SizeType>(tailEnd - size));
            std::memcpy(Tail() + (size & tailMask), in, static_cast<std::size_t>(n) * sizeof(T));
            in += n;
            size += n;
            count -= n;
        }
    }

    SizeType Size() const { return size; }

    // Takes items off the end until there are `newSize`. Gives no memory back. REQUIRES: newSize <= Size().
    void ShrinkTo(SizeType newSize) { size = tailEnd = newSize; }

    // Gives all pages back. Only ahead of destruction: chunks and capacity stay.
    void Clear() {
        size = 0;
        tailEnd = 0;
        for (AllocBlock& block : blocks)
            alloc.ReleasePage(block);
        blocks.clear();
    }

    // The items from `from` on that lie side by side in memory, for passes over a column page by page.
    // `count` is how many; 0 and null behind the end. Valid until the next operation on anything of the same
    // container.
    T* Span(SizeType from, SizeType& count) {
        if (static_cast<Unsigned>(from) >= static_cast<Unsigned>(size)) {
            count = 0;
            return nullptr;
        }
        count = std::min(openItems(from), static_cast<SizeType>(size - from));
        return ptr(from);
    }

    // Takes item `at` out; those behind it move down. REQUIRES: it exists.
    void Erase(SizeType at);
    // Moves the last item to `at`; those from there on move up. REQUIRES: both exist.
    void MoveLastTo(SizeType at);

    Iterator begin() { return Iterator(this, 0); }
    Iterator end() { return Iterator(this, size); }

  private:
    using Unsigned = std::make_unsigned_t<SizeType>;

    // Address of item i. REQUIRES: i below capacity.
    T* ptr(SizeType i) {
        const Unsigned u = static_cast<Unsigned>(i);
        if (u < static_cast<Unsigned>(kPageItems)) {
            T* chunk = chunks[u / kChunkItems];
            return chunk != nullptr ? chunk + u % kChunkItems : nullptr;
        }
        return static_cast<T*>(alloc.GetPage(blocks[u / kPageItems - 1])) + u % kPageItems;
    }

    // Items from i to the end of its chunk or page.
    SizeType openItems(SizeType i) const {
        return i < kPageItems ? kChunkItems - i % kChunkItems : kPageItems - i % kPageItems;
    }

    // The chunk or page that takes the next item. Its view may have been dropped since the last append.
    T* Tail() { return static_cast<T*>(alloc.GetPage(*tail)); }

    void NextTail();
    void Grow();

    SizeType size = 0;
    SizeType capacity = 0;
    std::deque<AllocBlock> blocks;
    StorageAlloc<PageSize>& alloc;
    T* chunks[kChunks] = {};

    // Where appends go: items [.., tailEnd) of `tail`, at index `size & tailMask`. size == tailEnd: look it
    // up.
    AllocBlock* tail = nullptr;
    SizeType tailEnd = 0;
    SizeType tailMask = 0;
    AllocBlock chunkTail;  // stands for a chunk, which has no record of its own
};

// Chunk by chunk and page by page; only one of them is looked at at a time.
template <class T, class SizeType, int PageSize>
void StorageBase<T, SizeType, PageSize>::Erase(SizeType at) {
    for (SizeType count = 0;; at += count) {
        T* const items = Span(at, count);
        std::memmove(items, items + 1, static_cast<std::size_t>(count - 1) * sizeof(T));
        if (at + count == size)
            break;
        const T moved = *ptr(at + count);
        *ptr(at + count - 1) = moved;
    }
    RemoveBack();
}

template <class T, class SizeType, int PageSize>
void StorageBase<T, SizeType, PageSize>::MoveLastTo(SizeType at) {
    T moved = *ptr(size - 1);
    for (SizeType count = 0; at < size; at += count) {
        T* const items = Span(at, count);
        const T last = items[count - 1];
        std::memmove(items + 1, items, static_cast<std::size_t>(count - 1) * sizeof(T));
        items[0] = moved;
        moved = last;
    }
}

template <class T, class SizeType, int PageSize>
void StorageBase<T, SizeType, PageSize>::NextTail() {
    if (size == capacity)
        Grow();
    if (size < kPageItems) {
        chunkTail.blockNumber = -1;
        chunkTail.address = chunks[size / kChunkItems];
        tail = &chunkTail;
        tailMask = kChunkItems - 1;
    } else {
        tail = &blocks[static_cast<std::size_t>(size / kPageItems - 1)];
        tailMask = kPageItems - 1;
    }
    tailEnd = (size | tailMask) + 1;
}

template <class T, class SizeType, int PageSize>
void StorageBase<T, SizeType, PageSize>::Grow() {
    if (capacity < kPageItems) {
        chunks[size / kChunkItems] = new T[kChunkItems];
        capacity += kChunkItems;
        return;
    }
    blocks.emplace_back();
    try {
        alloc.AllocPage(blocks.back());
    } catch (...) {
        blocks.pop_back();
        throw;
    }
    capacity += kPageItems;
}

// Random access over the items, for the standard algorithms: a pair of array and index. It dereferences to a
// stand-in and not to a T&, because looking at a second item may drop the view that the first one lies in.
template <class Array, class T>
class StorageIterator {
  public:
    using Index = typename Array::size_type;

    class Reference {
      public:
        Reference(Array* itemArray, Index itemIndex) : array(itemArray), index(itemIndex) {}
        Reference(const Reference&) = default;
        operator T() const { return array->GetItem(index); }  // NOLINT: stands for a T&
        const Reference& operator=(const T& value) const {
            array->GetItem(index) = value;
            return *this;
        }
        Reference& operator=(const Reference& other) {
            array->GetItem(index) = static_cast<T>(other);
            return *this;
        }
        friend void swap(Reference a, Reference b) {
            const T kept = a;
            a = static_cast<T>(b);
            b = kept;
        }

      private:
        Array* array;
        Index index;
    };

    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using reference = Reference;
    using pointer = void;

    StorageIterator() = default;
    StorageIterator(Array* itemArray, Index itemIndex) : array(itemArray), index(itemIndex) {}

    Reference operator*() const { return Reference(array, index); }
    Reference operator[](difference_type n) const { return Reference(array, static_cast<Index>(index + n)); }
    StorageIterator& operator++() { return *this += 1; }
    StorageIterator& operator--() { return *this += -1; }
    StorageIterator operator++(int) {
        StorageIterator before = *this;
        *this += 1;
        return before;
    }
    StorageIterator operator--(int) {
        StorageIterator before = *this;
        *this += -1;
        return before;
    }
    StorageIterator& operator+=(difference_type n) {
        index = static_cast<Index>(index + n);
        return *this;
    }
    StorageIterator& operator-=(difference_type n) { return *this += -n; }
    friend StorageIterator operator+(StorageIterator i, difference_type n) { return i += n; }
    friend StorageIterator operator+(difference_type n, StorageIterator i) { return i += n; }
    friend StorageIterator operator-(StorageIterator i, difference_type n) { return i -= n; }
    friend difference_type operator-(const StorageIterator& a, const StorageIterator& b) {
        return static_cast<difference_type>(a.index) - static_cast<difference_type>(b.index);
    }
    friend bool operator==(const StorageIterator& a, const StorageIterator& b) { return a.index == b.index; }
    friend bool operator!=(const StorageIterator& a, const StorageIterator& b) { return a.index != b.index; }
    friend bool operator<(const StorageIterator& a, const StorageIterator& b) { return a.index < b.index; }
    friend bool operator>(const StorageIterator& a, const StorageIterator& b) { return a.index > b.index; }
    friend bool operator<=(const StorageIterator& a, const StorageIterator& b) { return a.index <= b.index; }
    friend bool operator>=(const StorageIterator& a, const StorageIterator& b) { return a.index >= b.index; }

  private:
    Array* array = nullptr;
    Index index = 0;
};

using PageAlloc = StorageAlloc<65536>;
template <class T>
using PagedArray = StorageBase<T, int, 65536>;
// The form for what may pass 2^31 items: the byte pool and the offsets of variable length values.
template <class T>
using BigPagedArray = StorageBase<T, __int64, 65536>;

extern template class StorageBase<char, int, 65536>;
extern template class StorageBase<short, int, 65536>;
extern template class StorageBase<int, int, 65536>;
extern template class StorageBase<long, int, 65536>;
extern template class StorageBase<__int64, int, 65536>;
extern template class StorageBase<float, int, 65536>;
extern template class StorageBase<double, int, 65536>;
extern template class StorageBase<ResultsTimestamp, int, 65536>;
extern template class StorageBase<char, __int64, 65536>;
extern template class StorageBase<__int64, __int64, 65536>;

}  // namespace qxdbsqlengine
