#include "platform/qxdb/buffer.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <utility>

#include "platform/qxdb/hex_digit.h"

namespace qxdb {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool IsBlank(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void WriteHex(char* to, const unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        *to++ = kHexDigits[bytes[i] >> 4];
        *to++ = kHexDigits[bytes[i] & 15];
    }
}

}  // namespace

BufferBase::~BufferBase() = default;

void BufferBase::StreamOutBinary(std::ostream& stream, const unsigned char* bytes, unsigned int count) {
    char text[512];
    constexpr unsigned int most = sizeof(text) / 2;
    while (count > 0) {
        const unsigned int part = std::min(count, most);
        WriteHex(text, bytes, part);
        stream.write(text, static_cast<std::streamsize>(part) * 2);
        bytes += part;
        count -= part;
    }
}

void BufferBase::AppendHex(std::string& out, const unsigned char* bytes, std::size_t count) {
    const std::size_t start = out.size();
    out.resize(start + 2 * count);
    WriteHex(&out[start], bytes, count);
}

bool BufferBase::ParseHex(std::string_view text, BufferBase& buffer) {
    if (std::any_of(text.begin(), text.end(), [](char c) { return HexDigit(c) < 0; }))
        return false;
    const std::size_t count = (text.size() + 1) / 2;
    const std::size_t shift = text.size() % 2;
    buffer.SetLength(static_cast<unsigned int>(count));
    unsigned char* bytes = buffer.GetBuffer();
    if (shift != 0)
        *bytes++ = static_cast<unsigned char>(HexDigit(text[0]));
    for (std::size_t i = shift; i < text.size(); i += 2)
        *bytes++ = static_cast<unsigned char>(HexDigit(text[i]) << 4 | HexDigit(text[i + 1]));
    return true;
}

DynBuffer::DynBuffer() = default;
DynBuffer::DynBuffer(unsigned int size) : bytes(size) {}
DynBuffer::DynBuffer(unsigned int size, unsigned int newLength)
    : bytes(std::max(size, newLength)), length(newLength) {}
DynBuffer::DynBuffer(const DynBuffer&) = default;
DynBuffer::DynBuffer(DynBuffer&& other) noexcept
    : bytes(std::move(other.bytes)), length(std::exchange(other.length, 0U)) {
    other.bytes.clear();
}
DynBuffer& DynBuffer::operator=(const DynBuffer&) = default;
DynBuffer& DynBuffer::operator=(DynBuffer&& other) noexcept {
    if (this != &other) {
        bytes = std::move(other.bytes);
        other.bytes.clear();
        length = std::exchange(other.length, 0U);
    }
    return *this;
}
DynBuffer::~DynBuffer() = default;

unsigned char* DynBuffer::GetBuffer() {
    return bytes.data();
}

const unsigned char* DynBuffer::GetData() const {
    return bytes.data();
}

unsigned int DynBuffer::GetSize() const {
    return static_cast<unsigned int>(bytes.size());
}

unsigned int DynBuffer::GetLength() const {
    return length;
}

void DynBuffer::SetSize(unsigned int size) {
    bytes.resize(size);
    length = std::min(length, size);
}

void DynBuffer::SetLength(unsigned int newLength) {
    if (newLength > bytes.size())
        bytes.resize(newLength);
    length = newLength;
}

void DynBuffer::Assign(const BufferBase& other) {
    if (this != &other)
        Assign(other.GetData(), other.GetLength());
}

void DynBuffer::Assign(const unsigned char* source, unsigned int count) {
    if (count > bytes.size()) {
        // A source inside this buffer never comes here: it has no more bytes than the buffer.
        bytes.resize(count);
    }
    if (count > 0)
        std::memmove(bytes.data(), source, count);
    length = count;
}

bool operator==(const BufferBase& left, const BufferBase& right) {
    const unsigned int length = left.GetLength();
    return length == right.GetLength() &&
           (length == 0 || std::memcmp(left.GetData(), right.GetData(), length) == 0);
}

bool operator!=(const BufferBase& left, const BufferBase& right) {
    return !(left == right);
}

std::ostream& operator<<(std::ostream& stream, const BufferBase& buffer) {
    BufferBase::StreamOutBinary(stream, buffer.GetData(), buffer.GetLength());
    return stream;
}

std::istream& operator>>(std::istream& stream, BufferBase& buffer) {
    // Not the skipping of the stream itself: at the end of the text that would be a failure already.
    const std::istream::sentry ready(stream, true);
    if (!ready)
        return stream;
    std::string digits;
    int c = stream.peek();
    while (c != std::istream::traits_type::eof() && IsBlank(c)) {
        stream.get();
        c = stream.peek();
    }
    while (c != std::istream::traits_type::eof() && HexDigit(c) >= 0) {
        digits += static_cast<char>(c);
        stream.get();
        c = stream.peek();
    }
    if (digits.empty() && c != std::istream::traits_type::eof())
        stream.setstate(std::ios_base::failbit);
    else
        BufferBase::ParseHex(digits, buffer);
    return stream;
}

}  // namespace qxdb
