// The inserter of large objects. It asks the request for limits, server type and cancellation, so it stands
// here and not in storage/, which knows nothing of requests.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "storage/data_storage_inserter.h"

namespace qxdbsqlengine {

namespace {

constexpr unsigned int BlockSize = 2048;
constexpr unsigned int TerminatorSize = 2;

// Flags of a column.
constexpr unsigned int BinaryFlag = 1;
constexpr unsigned int WideFlags = 2 | 16;
constexpr unsigned int WideTextFlag = 16;

bool IsNamed(const std::string& typeName, const char* name) {
    return qxutils::StringUtils::StringICmp(typeName, name) == 0;
}

// Bytes of the sequence that a lead byte begins; 0 for a byte that can't begin one.
std::size_t Utf8SequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

bool IsContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// The code point of a whole sequence; false for what UTF-8 does not allow (overlong forms, surrogates,
// numbers beyond Unicode).
bool DecodeSequence(const unsigned char* bytes, std::size_t length, unsigned int& codePoint) {
    static constexpr unsigned int leadMasks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static constexpr unsigned int smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    codePoint = bytes[0] & leadMasks[length];
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(bytes[i]))
            return false;
        codePoint = codePoint << 6 | (bytes[i] & 0x3Fu);
    }
    return codePoint >= smallest[length] && codePoint <= 0x10FFFF &&
           !(codePoint >= 0xD800 && codePoint <= 0xDFFF);
}

void AppendUnit(unsigned short unit, std::string& out) {
    char bytes[sizeof unit];
    std::memcpy(bytes, &unit, sizeof unit);
    out.append(bytes, sizeof unit);
}

// Appends UTF-8 text as UTF-16 bytes. `rest` gets a sequence that the end of the text cuts off. False when
// the text is no UTF-8; `out` and `rest` then keep what they had.
bool AppendUtf8AsUtf16(const std::string& text, std::string& out, std::string& rest) {
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::string converted;
    converted.reserve(text.size() * 2);
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t length = Utf8SequenceLength(bytes[i]);
        if (length == 0)
            return false;
        if (length > text.size() - i) {
            if (!std::all_of(bytes + i + 1, bytes + text.size(), IsContinuation))
                return false;
            break;
        }
        unsigned int codePoint = 0;
        if (!DecodeSequence(bytes + i, length, codePoint))
            return false;
        if (codePoint >= 0x10000) {
            AppendUnit(static_cast<unsigned short>(0xD7C0 + (codePoint >> 10)), converted);
            AppendUnit(static_cast<unsigned short>(0xDC00 + (codePoint & 0x3FF)), converted);
        } else {
            AppendUnit(static_cast<unsigned short>(codePoint), converted);
        }
        i += length;
    }
    out += converted;
    rest = text.substr(i);
    return true;
}

std::string NarrowWideBytes(const std::string& bytes) {
    std::vector<unsigned short> wide((bytes.size() + 1) / 2 + 1, 0);
    std::memcpy(wide.data(), bytes.data(), bytes.size());
    return qxutils::StringUtils::ConvertToMBString(wide.data());
}

}  // namespace

// What was read of one object.
struct LobDataStorageInserter::Preview {
    std::string bytes;  // for a binary object its hexadecimal text
    bool isBinary = false;
    bool isWide = false;
    std::string cutSequence;  // of UTF-8, from the end of a block
    bool wasUtf8 = false;
    bool isOpaque = false;  // had a block that is no UTF-8: what follows is not tried any more

    std::string GetText() const {
        if (isWide && !isBinary)
            return NarrowWideBytes(bytes);
        return bytes.substr(0, bytes.find('\0'));
    }
};

LobDataStorageInserter::LobDataStorageInserter(qxdb::Field* source, DataStorage* target, int resultSetId,
                                               int columnIndex, qxdb::Cursor& owner, int fieldPosition,
                                               const std::string& table, unsigned int locatorLength,
                                               SQLRequest& sqlRequest)
    : DataStorageInserter(source, target, resultSetId, columnIndex),
      cursor(&owner),
      fieldIndex(fieldPosition),
      tableName(table),
      request(&sqlRequest),
      locatorData(locatorLength) {}

LobDataStorageInserter::~LobDataStorageInserter() = default;

void LobDataStorageInserter::Insert() {
    if (field->IsNull()) {
        InsertNull();
        return;
    }
    Preview preview;
    ReadPreview(preview);
    // Some servers tell only with the data that there is none.
    if (field->IsNull()) {
        InsertNull();
        return;
    }
    FetchLocatorData();
    storage->InsertLobData(resultSet, column, preview.GetText(), locatorData);
}

const LobDataStorageInserter::ColumnTraits& LobDataStorageInserter::GetTraits() {
    if (!traitsKnown) {
        traits = DescribeColumn();
        traitsKnown = true;
    }
    return traits;
}

LobDataStorageInserter::ColumnTraits LobDataStorageInserter::DescribeColumn() {
    const qxdb::Schema schema = cursor->Bind().GetSchema();
    const qxdb::Column& description = schema[static_cast<unsigned int>(fieldIndex)];
    const unsigned int flags = description.GetLobFlags();
    const std::string typeName = description.GetNativeTypeName();

    ColumnTraits found;
    found.isBinary = (flags & (BinaryFlag | WideFlags)) == BinaryFlag;
    found.isWide = (flags & WideTextFlag) != 0;
    switch (request->GetDBType()) {
        case qxdb::DBTYPE_SYBASE:
            found.isSybase = true;
            found.triesUtf8 = request->IsUnicodeInstance() && IsNamed(typeName, "text");
            found.isWide = found.isWide || found.triesUtf8;
            break;
        case qxdb::DBTYPE_SQLSERVER:
            found.isDoubleWidth = IsNamed(typeName, "ntext");
            break;
        case qxdb::DBTYPE_DB2:
            found.isDoubleWidth = IsNamed(typeName, "CLOB") || IsNamed(typeName, "LONG VARCHAR");
            break;
        case qxdb::DBTYPE_ORACLE:
            found.isWide = found.isWide ||
                           ((flags & 3) != 0 && !IsNamed(typeName, "BLOB") && !IsNamed(typeName, "LONG"));
            break;
        case qxdb::DBTYPE_DB2OS390:
            found.blanksForZeros = true;
            break;
        default:
            break;
    }
    return found;
}

void LobDataStorageInserter::ReadPreview(Preview& preview) {
    const ColumnTraits& columnTraits = GetTraits();
    const int characters =
        request->GetUseLobLocators() ? request->GetLobPreviewSize() : request->GetLobStreamSize();
    request->CheckCancelled();
    preview.isBinary = columnTraits.isBinary;
    preview.isWide = columnTraits.isWide;
    // The limit counts characters, and these come at two bytes each.
    const bool isDouble = columnTraits.isWide || columnTraits.isDoubleWidth;
    const unsigned int limit = static_cast<unsigned int>(std::max(characters, 0)) * (isDouble ? 2u : 1u);

    qxdb::RawStream* const stream = field->GetStream();
    unsigned char block[BlockSize + TerminatorSize];
    unsigned int total = 0;
    for (;;) {
        const unsigned int wanted = std::min(limit - total, BlockSize);
        const unsigned int count = std::min(stream->Read(block, wanted), wanted);
        block[count] = block[count + 1] = 0;
        if (count == 0)
            break;
        AddBlock(preview, block, count, total == 0);
        total += count;
        if (count < wanted || total >= limit)
            break;
        request->CheckCancelled();
    }
    // A character that the limit cut in two is left away; bytes that only looked like one are kept.
    if (!preview.wasUtf8)
        preview.bytes += preview.cutSequence;
}

void LobDataStorageInserter::AddBlock(Preview& preview, unsigned char* block, unsigned int count,
                                      bool isFirst) const {
    const char* const text = reinterpret_cast<const char*>(block);
    if (isFirst && preview.isBinary && traits.isSybase &&
        std::all_of(block, block + count, [](unsigned char byte) { return byte < 0x80; })) {
        // The server's type does not tell text from bytes.
        preview.isBinary = false;
        preview.isWide = false;
    }
    if (preview.isBinary) {
        qxdb::BufferBase::AppendHex(preview.bytes, block, count);
        return;
    }
    if (traits.blanksForZeros)
        std::replace(block, block + count, static_cast<unsigned char>(0), static_cast<unsigned char>(' '));
    if (!traits.triesUtf8 || preview.isOpaque) {
        preview.bytes.append(text, count);
        return;
    }
    // A block ends anywhere, also within a character: what is cut off goes in front of the next block.
    const std::string whole = preview.cutSequence + std::string(text, count);
    if (AppendUtf8AsUtf16(whole, preview.bytes, preview.cutSequence)) {
        preview.wasUtf8 = preview.wasUtf8 || whole.size() > preview.cutSequence.size();
        preview.isWide = true;
    } else {
        preview.bytes += whole;
        preview.cutSequence.clear();
        preview.isOpaque = true;
    }
}

void LobDataStorageInserter::FetchLocatorData() {
    locatorData.SetLength(0);
    if (!request->GetUseLobLocators())
        return;
    const qxdb::LobLocator locator = cursor->GetLocator(static_cast<unsigned int>(fieldIndex), tableName, "",
                                                        "", request->GetUseSpecificLobLocatorImpl() != 0);
    locatorData.Assign(locator.GetLocatorData());
}

}  // namespace qxdbsqlengine
