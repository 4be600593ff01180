#include "persistence/expat_parser.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/os/code_page.h"

namespace qxdbsqlengine {
namespace {

constexpr int kBlock = 256 * 1024;

// Bytes of UTF-8 in which MaxText characters surely have their place.
constexpr std::size_t kKeptUtf8 = 4 * (ExpatParser::MaxText + 1);

bool IsBlank(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

// Without the prefix of a name space.
std::string_view LocalName(const char* name) {
    const char* const colon = std::strrchr(name, ':');
    return colon == nullptr ? name : colon + 1;
}

// The character at `at`, of valid UTF-8 as the parser gives it; moves behind it.
unsigned NextCharacter(std::string_view utf8, std::size_t& at) {
    const unsigned lead = static_cast<unsigned char>(utf8[at]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t k = 1; k < length && at + k < utf8.size(); ++k)
        code = (code << 6) | (static_cast<unsigned char>(utf8[at + k]) & 0x3Fu);
    at += length;
    return code;
}

std::vector<unsigned short> ToUtf16(std::string_view utf8) {
    std::vector<unsigned short> units;
    units.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        unsigned code = NextCharacter(utf8, at);
        if (code >= 0x10000) {
            units.push_back(static_cast<unsigned short>(0xD7C0 + (code >> 10)));
            code = 0xDC00 | (code & 0x3FF);
        }
        units.push_back(static_cast<unsigned short>(code));
    }
    return units;
}

// Characters below 256 are bytes of the file. Others can only come from character references.
void AppendBytes(std::string_view utf8, std::string& out) {
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        const unsigned code = NextCharacter(utf8, at);
        if (code < 0x100) {
            out += static_cast<char>(code);
        } else {
            const std::vector<unsigned short> units = ToUtf16(utf8.substr(start, at - start));
            out += qxos::Utf16ToMultiByte(units.data(), units.size());
        }
    }
}

// The part of Windows-1252 that is not ISO-8859-1; -1 is no character.
constexpr int kWindows1252[] = {0x20AC, -1,     0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, -1,     0x017D, -1,
                                -1,     0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, -1,     0x017E, 0x0178};

bool FillEncoding(std::string_view name, int* map) {
    for (int i = 0; i < 256; ++i)
        map[i] = i;
    if (EqualsIgnoringCase(name, "windows-1252") || EqualsIgnoringCase(name, "cp1252")) {
        std::copy(std::begin(kWindows1252), std::end(kWindows1252), map + 0x80);
        return true;
    }
    if (EqualsIgnoringCase(name, "ISO-8859-15")) {
        constexpr int others[][2] = {{0xA4, 0x20AC}, {0xA6, 0x0160}, {0xA8, 0x0161}, {0xB4, 0x017D},
                                     {0xB8, 0x017E}, {0xBC, 0x0152}, {0xBD, 0x0153}, {0xBE, 0x0178}};
        for (const auto& [byte, code] : others)
            map[byte] = code;
        return true;
    }
    return false;
}

int ClampedNumber(XML_Size number) {
    return static_cast<int>(std::min<XML_Size>(number, std::numeric_limits<int>::max() - 1)) + 1;
}

}  // namespace

struct ExpatParser::Callbacks {
    static ExpatParser& Self(void* data) { return *static_cast<ExpatParser*>(data); }

    static void Start(void* data, const char* name, const char** attributes) {
        Self(data).Guarded([&] { Self(data).StartElement(name, attributes); });
    }
    static void End(void* data, const char* name) {
        Self(data).Guarded([&] { Self(data).EndElement(name); });
    }
    static void Characters(void* data, const char* text, int length) {
        Self(data).Guarded(
            [&] { Self(data).CollectText(std::string_view(text, static_cast<std::size_t>(length))); });
    }
    static void Declaration(void* data, const char*, const char* encoding, int) {
        Self(data).bytesAsTheyStand = encoding != nullptr && EqualsIgnoringCase(encoding, "ISO-8859-1");
    }
    static void DocumentType(void* data, const char*, const char* systemId, const char*, int) {
        if (systemId != nullptr)
            Self(data).Refuse("A document type outside the file is refused");
    }
    static void EntityDeclaration(void* data, const char*, int, const char*, int, const char*,
                                  const char* systemId, const char*, const char*) {
        if (systemId != nullptr)
            Self(data).Refuse("External entities are refused");
    }
    static int ExternalEntity(XML_Parser parser, const char*, const char*, const char*, const char*) {
        Self(XML_GetUserData(parser)).Refuse("External entities are refused");
        return XML_STATUS_ERROR;
    }
    static void SkippedEntity(void* data, const char*, int) {
        Self(data).Refuse("An entity that is not declared is refused");
    }
    static int UnknownEncoding(void*, const char* name, XML_Encoding* encoding) {
        encoding->data = nullptr;
        encoding->convert = nullptr;
        encoding->release = nullptr;
        return FillEncoding(name, encoding->map) ? XML_STATUS_OK : XML_STATUS_ERROR;
    }
};

ExpatParser::ExpatParser(IXmlElementHandler& elementHandler)
    : handler(elementHandler), parser(XML_ParserCreate(nullptr), XML_ParserFree) {
    if (!parser)
        throw std::bad_alloc();
    SetCallbacks();
}

ExpatParser::~ExpatParser() = default;

void ExpatParser::SetCallbacks() {
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), Callbacks::Start, Callbacks::End);
    XML_SetCharacterDataHandler(parser.get(), Callbacks::Characters);
    XML_SetXmlDeclHandler(parser.get(), Callbacks::Declaration);
    XML_SetStartDoctypeDeclHandler(parser.get(), Callbacks::DocumentType);
    XML_SetEntityDeclHandler(parser.get(), Callbacks::EntityDeclaration);
    XML_SetExternalEntityRefHandler(parser.get(), Callbacks::ExternalEntity);
    XML_SetSkippedEntityHandler(parser.get(), Callbacks::SkippedEntity);
    XML_SetUnknownEncodingHandler(parser.get(), Callbacks::UnknownEncoding, nullptr);
}

ExpatParser::Result ExpatParser::Parse(ByteSource& source) {
    for (;;) {
        void* const block = XML_GetBuffer(parser.get(), kBlock);
        if (block == nullptr)
            throw std::bad_alloc();
        const std::size_t count = source.Read(static_cast<char*>(block), kBlock);
        if (source.HasFailed())
            return Result::Failed;
        const bool last = count < static_cast<std::size_t>(kBlock);
        const bool parsed = XML_ParseBuffer(parser.get(), static_cast<int>(count), last) == XML_STATUS_OK;
        if (!parsed || last)
            return Finish(parsed);
    }
}

ExpatParser::Result ExpatParser::Finish(bool complete) {
    if (failure)
        std::rethrow_exception(failure);
    if (cancelled)
        return Result::Cancelled;
    if (complete && refusal.empty())
        return Result::Complete;
    const XML_Error code = XML_GetErrorCode(parser.get());
    if (code == XML_ERROR_NO_MEMORY)
        throw std::bad_alloc();
    std::string message = refusal;
    if (message.empty())
        message = XML_ErrorString(code);
    if (message.size() > MaxMessage)
        message.resize(MaxMessage);
    const bool refused = !refusal.empty();
    handler.OnError(refused ? refusalLine : Line(), refused ? refusalColumn : Column(), message,
                    static_cast<int>(code));
    return Result::Failed;
}

int ExpatParser::Line() const {
    return ClampedNumber(XML_GetCurrentLineNumber(parser.get()) - 1);
}

int ExpatParser::Column() const {
    return ClampedNumber(XML_GetCurrentColumnNumber(parser.get()));
}

template <class Action>
void ExpatParser::Guarded(Action action) {
    // Behind a stop the parser may still end elements that it has begun.
    if (failure || cancelled || !refusal.empty())
        return;
    try {
        action();
    } catch (const XmlRefusal& refused) {
        Refuse(refused.what());
    } catch (...) {
        failure = std::current_exception();
        XML_StopParser(parser.get(), XML_FALSE);
    }
}

void ExpatParser::Refuse(const char* reason) {
    if (refusal.empty()) {
        refusal = reason;
        refusalLine = Line();
        refusalColumn = Column();
    }
    XML_StopParser(parser.get(), XML_FALSE);
}

void ExpatParser::StopWhenCancelled() {
    cancelled = handler.IsCancelled();
    if (cancelled)
        XML_StopParser(parser.get(), XML_FALSE);
}

void ExpatParser::StartElement(const char* name, const char** attributes) {
    FlushText();
    ++depth;
    element.isStart = true;
    element.depth = depth;
    element.name = LocalName(name);
    element.attributes.Clear();
    for (; *attributes != nullptr; attributes += 2)
        ToLocal(attributes[1], element.attributes.Add(LocalName(attributes[0])));
    handler.OnStartElement(element);
    StopWhenCancelled();
}

void ExpatParser::EndElement(const char* name) {
    FlushText();
    element.isStart = false;
    element.depth = depth;
    element.name = LocalName(name);
    element.attributes.Clear();
    --depth;
    handler.OnEndElement(element);
    StopWhenCancelled();
}

void ExpatParser::CollectText(std::string_view piece) {
    textIsBlank = textIsBlank && std::all_of(piece.begin(), piece.end(), IsBlank);
    // One more than is kept tells that there was more.
    const std::size_t limit = bytesAsTheyStand ? MaxText + 1 : kKeptUtf8;
    if (text.size() >= limit)
        return;
    if (bytesAsTheyStand)
        AppendBytes(piece.substr(0, std::min(piece.size(), 2 * limit)), text);
    else
        text.append(piece.substr(0, std::min(piece.size(), 4 * limit)));
}

// Hands on what was collected since the last tag.
void ExpatParser::FlushText() {
    if (!textIsBlank) {
        CutText();
        handler.OnCharacters(text, depth);
    }
    text.clear();
    textIsBlank = true;
    textCut = false;
}

void ExpatParser::CutText() {
    if (bytesAsTheyStand) {
        textCut = text.size() > MaxText;
        if (textCut)
            text.resize(MaxText);
        return;
    }
    std::vector<unsigned short> units = ToUtf16(text);
    textCut = units.size() > MaxText;
    std::size_t count = std::min(units.size(), MaxText);
    const auto isSecondHalf = [&units](std::size_t at) {
        return at < units.size() && units[at] >= 0xDC00 && units[at] <= 0xDFFF;
    };
    for (;;) {
        if (isSecondHalf(count))
            --count;
        text = qxos::Utf16ToMultiByte(units.data(), count);
        if (text.size() <= MaxText)
            return;
        textCut = true;
        --count;
    }
}

// The text of an attribute, as long as it is.
void ExpatParser::ToLocal(std::string_view utf8, std::string& local) const {
    local.clear();
    if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        local = utf8;
    } else if (bytesAsTheyStand) {
        AppendBytes(utf8, local);
    } else {
        const std::vector<unsigned short> units = ToUtf16(utf8);
        local = qxos::Utf16ToMultiByte(units.data(), units.size());
    }
}

}  // namespace qxdbsqlengine
