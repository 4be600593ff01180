// What a reader of XML is told by the parser, whichever that is.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qxdbsqlengine {

// The attributes of one element. Names and values are bytes of the local code page; see ExpatParser.
class XmlAttributes {
  public:
    // Null when there is none of this name. Valid until the next element.
    const std::string* Find(std::string_view name) const {
        for (std::size_t i = 0; i < count; ++i)
            if (entries[i].name == name)
                return &entries[i].value;
        return nullptr;
    }
    void Clear() { count = 0; }
    // Room for one more value, whose old content is to be replaced; its memory is used again.
    std::string& Add(std::string_view name) {
        if (count == entries.size())
            entries.emplace_back();
        entries[count].name = name;
        return entries[count++].value;
    }

  private:
    struct Entry {
        std::string name;
        std::string value;
    };
    std::vector<Entry> entries;
    std::size_t count = 0;
};

// The beginning or the end of an element. Lives as long as the event.
struct XmlElement {
    bool isStart = false;
    int depth = 0;          // of the element: 1 for the document element
    std::string_view name;  // without a prefix
    XmlAttributes attributes;
};

// Thrown by a handler: the parse ends with an error at the present place of the file.
class XmlRefusal : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Receives the events of a parse, on the parsing thread. What a handler throws, XmlRefusal apart, leaves the
// parse.
class IXmlElementHandler {
  public:
    virtual ~IXmlElementHandler() = default;
    virtual void OnStartElement(const XmlElement& element) = 0;
    // The text between two tags, in one piece whatever it was made of. `depth` is that of the element around
    // it. Text of nothing but white space gives no event.
    virtual void OnCharacters(const std::string& text, int depth) = 0;
    // The element has no attributes here.
    virtual void OnEndElement(const XmlElement& element) = 0;
    // The document ends here for want of sense. Line and column are 1-based, `code` is the parser's.
    virtual void OnError(int line, int column, const std::string& message, int code) = 0;
    // Asked behind each start and end of an element; true stops the parse.
    virtual bool IsCancelled() = 0;
};

}  // namespace qxdbsqlengine
