// XML events out of the bytes of a file.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "persistence/byte_source.h"
#include "persistence/xml_element_handler.h"

struct XML_ParserStruct;

namespace qxdbsqlengine {

// Feeds a document to a handler. One thread, one document; the handler must outlive it.
//
// Text. Adjacent character data (text, CDATA sections, entities, line ends, whatever comments stand between)
// comes as one event when the next tag begins. Of a text no more than MaxText characters and bytes are kept,
// and nothing beyond them is held in memory. A text of blanks, tabs and line ends alone is dropped.
//
// Bytes. A document that declares ISO-8859-1 gives its bytes back as they stand in the file, so that any
// local code page survives in it; in all other encodings (UTF-8, UTF-16, US-ASCII, windows-1252, ISO-8859-15)
// characters are converted to the local code page. A text is cut between two characters; in ISO-8859-1 every
// byte is one.
//
// Refused with an error: a document type that lies outside the file, external entities, entities that are not
// declared, and entities that blow a small file up. Entities that the file declares itself are replaced.
class ExpatParser {
  public:
    static constexpr std::size_t MaxText = 799;
    static constexpr std::size_t MaxMessage = 799;

    enum class Result { Complete, Cancelled, Failed };

    explicit ExpatParser(IXmlElementHandler& elementHandler);
    ~ExpatParser();
    ExpatParser(const ExpatParser&) = delete;
    ExpatParser& operator=(const ExpatParser&) = delete;

    // Parses all bytes of the source. Failed: the handler was told why, or the source has told it.
    Result Parse(ByteSource& source);

    // For handlers, during an event: the place in the file, from 1, and whether the text of this event is
    // only the beginning of what stands there.
    int Line() const;
    int Column() const;
    bool IsTextCut() const { return textCut; }

  private:
    struct Callbacks;  // the functions that the parser calls

    void SetCallbacks();
    void StartElement(const char* name, const char** attributes);
    void EndElement(const char* name);
    void CollectText(std::string_view text);
    void FlushText();
    void ToLocal(std::string_view utf8, std::string& local) const;
    void CutText();
    void Refuse(const char* reason);
    void StopWhenCancelled();
    // Runs a part of an event; what it throws is kept and stops the parse, since it must not pass the parser.
    template <class Action>
    void Guarded(Action action);
    Result Finish(bool complete);

    IXmlElementHandler& handler;
    std::unique_ptr<XML_ParserStruct, void (*)(XML_ParserStruct*)> parser;
    XmlElement element;
    int depth = 0;
    bool bytesAsTheyStand = false;  // the document declares ISO-8859-1
    std::string text;               // of the joined piece, as far as it is kept
    bool textIsBlank = true;
    bool textCut = false;
    bool cancelled = false;
    std::string refusal;  // why the parse was stopped as an error, and where
    int refusalLine = 0;
    int refusalColumn = 0;
    std::exception_ptr failure;
};

}  // namespace qxdbsqlengine
