// Byte buffers: the value of a binary column or parameter.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"

namespace qxdb {

// A block of bytes with a capacity ("size") and a number of bytes in use ("length"). Values are bound through
// this interface, so a driver writes straight into the owner's memory. No locking: one thread at a time, or
// many that only read. The text of a buffer is upper-case hexadecimal, two digits a byte, without a prefix.
class QXSENG2_API BufferBase {
  public:
    virtual ~BufferBase();

    // First byte; valid until the size changes. May be null while the size is 0.
    virtual unsigned char* GetBuffer() = 0;
    // Capacity in bytes.
    virtual unsigned int GetSize() const = 0;
    // Bytes in use, never above the size.
    virtual unsigned int GetLength() const = 0;
    // Changes the capacity. The bytes in use are kept; a size below the length cuts the length too.
    virtual void SetSize(unsigned int size) = 0;
    // Changes the bytes in use; bytes that come into use for the first time are 0. A length above the size
    // raises the size.
    virtual void SetLength(unsigned int length) = 0;
    // Takes over the other buffer's bytes in use. The size grows when it has to and never shrinks.
    virtual void Assign(const BufferBase& other) = 0;
    // GetBuffer for those who only look.
    virtual const unsigned char* GetData() const = 0;

    // Writes raw bytes as operator<< writes a buffer; width and fill of the stream are not used.
    static void StreamOutBinary(std::ostream& stream, const unsigned char* bytes, unsigned int count);
    // The same at the end of a text, without a stream.
    static void AppendHex(std::string& out, const unsigned char* bytes, std::size_t count);
    // Replaces the buffer's bytes by those of a hexadecimal text. An odd number of digits reads as if a 0
    // stood in front. False, and the buffer unchanged, when the text has any other character; an empty text
    // gives length 0.
    static bool ParseHex(std::string_view text, BufferBase& buffer);

  protected:
    BufferBase() = default;
    BufferBase(const BufferBase&) = default;
    BufferBase& operator=(const BufferBase&) = default;
};

// A growable buffer that owns its bytes; a copy is a copy of the bytes.
class QXSENG2_API DynBuffer : public BufferBase {
  public:
    DynBuffer();
    // All bytes are 0 and none is in use.
    explicit DynBuffer(unsigned int size);
    // The first `length` bytes are in use and 0; a length above the size raises the size.
    DynBuffer(unsigned int size, unsigned int length);
    DynBuffer(const DynBuffer& other);
    DynBuffer(DynBuffer&& other) noexcept;
    DynBuffer& operator=(const DynBuffer& other);
    DynBuffer& operator=(DynBuffer&& other) noexcept;
    ~DynBuffer() override;

    unsigned char* GetBuffer() override;
    unsigned int GetSize() const override;
    unsigned int GetLength() const override;
    void SetSize(unsigned int size) override;
    void SetLength(unsigned int length) override;
    void Assign(const BufferBase& other) override;
    const unsigned char* GetData() const override;

    // Replaces the bytes in use; `bytes` may point into this buffer.
    void Assign(const unsigned char* bytes, unsigned int count);

  private:
    std::vector<unsigned char> bytes;  // its size is the capacity
    unsigned int length = 0;
};

// Equal lengths and equal bytes; the sizes play no part.
QXSENG2_API bool operator==(const BufferBase& left, const BufferBase& right);
QXSENG2_API bool operator!=(const BufferBase& left, const BufferBase& right);

QXSENG2_API std::ostream& operator<<(std::ostream& stream, const BufferBase& buffer);
// Skips blanks, then reads hexadecimal digits as ParseHex reads them, up to the first other character or the
// end. At the end of the stream the buffer becomes empty, since that is what an empty buffer writes. Where
// something else stands, the stream fails and the buffer stays as it is.
QXSENG2_API std::istream& operator>>(std::istream& stream, BufferBase& buffer);

}  // namespace qxdb
