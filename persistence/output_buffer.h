// The bytes of a file that are formatted but not yet written.
//
// One thread at a time. It only collects: its owner hands the bytes on when IsFull() says so and then calls
// Clear(). Appending never fails for want of space (the buffer grows with a value that is larger than a
// block) and allocates nothing while the content stays below the block size.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace qxdbsqlengine {

class OutputBuffer {
  public:
    // Content from which on the owner should write: large blocks, since every write is a system call.
    static constexpr std::size_t kBlock = 256 * 1024;

    // Nothing is allocated before the first byte; then at least `firstSize` bytes.
    explicit OutputBuffer(std::size_t firstSize = kBlock + kBlock / 4) : firstCapacity(firstSize) {}

    void Append(std::string_view text) {
        Copy(text, Reserve(text.size()));
        used += text.size();
    }
    // Three texts with one look at the room: what stands around a value, and the value.
    void Append(std::string_view before, std::string_view text, std::string_view behind) {
        char* const to = Reserve(before.size() + text.size() + behind.size());
        Copy(before, to);
        Copy(text, to + before.size());
        Copy(behind, to + before.size() + text.size());
        used += before.size() + text.size() + behind.size();
    }
    void Append(char byte) {
        *Reserve(1) = byte;
        ++used;
    }

    // Room for `count` more bytes; valid until the next call. Commit() tells how many were really used.
    char* Reserve(std::size_t count) {
        if (capacity - used < count)
            Grow(count);
        return bytes.get() + used;
    }
    void Commit(std::size_t count) { used += count; }

    const char* Data() const { return bytes.get(); }
    std::size_t Size() const { return used; }
    bool IsFull() const { return used >= kBlock; }

    // Drops everything behind the first `size` bytes: a row that could not be read to its end.
    void Truncate(std::size_t size) { used = size; }

    // Empties the buffer. Memory beyond the usual, taken for one huge value, is given back.
    void Clear() {
        used = 0;
        if (capacity > 8 * kBlock)
            Release();
    }
    void Release() {
        bytes.reset();
        used = capacity = 0;
    }

  private:
    static constexpr std::size_t kShort = 96;  // up to here a call costs more than the copy

    template <std::size_t Size>
    static void CopyBlock(const char* from, char* to) {
        char block[Size];
        std::memcpy(block, from, Size);
        std::memcpy(to, block, Size);
    }

    // Values are short, so they are copied in place; the last block may copy some bytes a second time.
    static void Copy(std::string_view text, char* to) {
        const char* const from = text.data();
        const std::size_t size = text.size();
        if (size > kShort) {
            std::memcpy(to, from, size);
        } else if (size >= 16) {
            for (std::size_t i = 0; i + 16 < size; i += 16)
                CopyBlock<16>(from + i, to + i);
            CopyBlock<16>(from + size - 16, to + size - 16);
        } else if (size >= 8) {
            CopyBlock<8>(from, to);
            CopyBlock<8>(from + size - 8, to + size - 8);
        } else if (size >= 4) {
            CopyBlock<4>(from, to);
            CopyBlock<4>(from + size - 4, to + size - 4);
        } else {
            for (std::size_t i = 0; i < size; ++i)
                to[i] = from[i];
        }
    }

    void Grow(std::size_t count) {
        std::size_t wanted = capacity == 0 ? firstCapacity : capacity;
        while (wanted - used < count)
            wanted *= 2;
        std::unique_ptr<char[]> larger(new char[wanted]);
        if (used != 0)
            std::memcpy(larger.get(), bytes.get(), used);
        bytes = std::move(larger);
        capacity = wanted;
    }

    std::unique_ptr<char[]> bytes;
    std::size_t used = 0;
    std::size_t capacity = 0;
    const std::size_t firstCapacity;  // not 0
};

}  // namespace qxdbsqlengine
