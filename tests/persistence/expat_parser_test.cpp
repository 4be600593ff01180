// Events of XML documents, and documents that are refused.
#include "persistence/expat_parser.h"

#include <algorithm>
#include <cstring>

#include "gtest/gtest.h"

namespace qxdbsqlengine {
namespace {

class TextSource : public ByteSource {
  public:
    explicit TextSource(std::string text) : bytes(std::move(text)) {}
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given = std::min(count, bytes.size() - position);
        std::memcpy(to, bytes.data() + position, given);
        position += given;
        failed = position >= failAt;
        return given;
    }
    bool HasFailed() const override { return failed; }

    std::size_t failAt = static_cast<std::size_t>(-1);

  private:
    std::string bytes;
    std::size_t position = 0;
    bool failed = false;
};

// Writes events down: "<1 a x=y>" start, "(1 text)" characters, "</1 a>" end, "!line:column message".
class EventLog : public IXmlElementHandler {
  public:
    void OnStartElement(const XmlElement& element) override {
        EXPECT_TRUE(element.isStart);
        text += "<" + std::to_string(element.depth) + " " + std::string(element.name);
        for (const char* name : {"x", "y", "lang"})
            if (const std::string* const value = element.attributes.Find(name))
                text += std::string(" ") + name + "=" + *value;
        text += ">";
        ++starts;
        Act(element);
    }
    void OnCharacters(const std::string& characters, int depth) override {
        text += "(" + std::to_string(depth) + " " + characters + (parser->IsTextCut() ? "..." : "") + ")";
    }
    void OnEndElement(const XmlElement& element) override {
        EXPECT_FALSE(element.isStart);
        EXPECT_EQ(element.attributes.Find("x"), nullptr);
        text += "</" + std::to_string(element.depth) + " " + std::string(element.name) + ">";
    }
    void OnError(int line, int column, const std::string& message, int newCode) override {
        text += "!" + std::to_string(line) + ":" + std::to_string(column) + " " + message;
        code = newCode;
    }
    bool IsCancelled() override { return starts >= cancelAt; }

    ExpatParser* parser = nullptr;
    std::string text;
    int starts = 0;
    int cancelAt = 1000000;
    int code = -1;
    std::string refuseAt;  // the name of an element
    std::string throwAt;

  private:
    void Act(const XmlElement& element) const {
        if (element.name == refuseAt)
            throw XmlRefusal("not this one");
        if (element.name == throwAt)
            throw std::out_of_range("thrown");
    }
};

ExpatParser::Result Parse(EventLog& log, const std::string& document) {
    TextSource source(document);
    ExpatParser parser(log);
    log.parser = &parser;
    return parser.Parse(source);
}

std::string Events(const std::string& document) {
    EventLog log;
    const ExpatParser::Result result = Parse(log, document);
    EXPECT_EQ(result == ExpatParser::Result::Failed, log.text.find('!') != std::string::npos);
    return log.text;
}

const std::string kLatin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>";

TEST(ExpatParserTest, ElementsAttributesAndDepth) {
    EXPECT_EQ(Events("<a x=\"1\"><b y='2' x='3'/><c>t</c></a>"),
              "<1 a x=1><2 b x=3 y=2></2 b><2 c>(2 t)</2 c></1 a>");
}

TEST(ExpatParserTest, PrefixesAreDropped) {
    EXPECT_EQ(Events("<p:a xmlns:p=\"u\" p:x=\"1\" xml:lang=\"en\"><q:b/></p:a>"),
              "<1 a x=1 lang=en><2 b></2 b></1 a>");
}

TEST(ExpatParserTest, AdjacentTextComesInOnePiece) {
    EXPECT_EQ(Events("<a>one &amp; two &lt;<![CDATA[<&>]]>three\nfour&#10;five<!-- c --><?p i?>six</a>"),
              "<1 a>(1 one & two <<&>three\nfour\nfivesix)</1 a>");
    EXPECT_EQ(Events("<a>a\r\nb\rc&#13;d</a>"), "<1 a>(1 a\nb\nc\rd)</1 a>");
    EXPECT_EQ(Events("<!DOCTYPE a [<!ENTITY e \"in &lt; it\">]><a>x&e;y</a>"), "<1 a>(1 xin < ity)</1 a>");
}

TEST(ExpatParserTest, TextAroundAnElementComesInTwoPieces) {
    EXPECT_EQ(Events("<a>one<b/>two</a>"), "<1 a>(1 one)<2 b></2 b>(1 two)</1 a>");
}

TEST(ExpatParserTest, WhiteSpaceAloneIsNoText) {
    EXPECT_EQ(Events("<a> \t\r\n<b>  </b><c><![CDATA[ ]]>&#32;&#9;</c><d/>\n</a>"),
              "<1 a><2 b></2 b><2 c></2 c><2 d></2 d></1 a>");
    EXPECT_EQ(Events("<a>  &#32;x</a>"), "<1 a>(1    x)</1 a>");
    EXPECT_EQ(Events("<a><![CDATA[]]></a>"), "<1 a></1 a>");
}

TEST(ExpatParserTest, BytesOfAnIso88591FileComeBackAsTheyStand) {
    std::string all;
    for (int byte = 0x80; byte < 0x100; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(Events(kLatin1 + "<a x=\"" + all + "\">" + all + "</a>"),
              "<1 a x=" + all + ">(1 " + all + ")</1 a>");
    EXPECT_EQ(Events("<?xml version='1.0' encoding='iso-8859-1'?><a>\xF0\x9F\x98\x80</a>"),
              "<1 a>(1 \xF0\x9F\x98\x80)</1 a>");
    // Characters that the encoding does not have can only be references.
    EXPECT_EQ(Events(kLatin1 + "<a>&#8364;&#xE9;&#x1F600;</a>"),
              "<1 a>(1 \xE2\x82\xAC\xE9\xF0\x9F\x98\x80)</1 a>");
}

TEST(ExpatParserTest, OtherEncodingsComeInTheLocalCodePage) {
    EXPECT_EQ(Events("<a x=\"\xC3\xA9\">\xC3\xA9\xF0\x9F\x98\x80</a>"),
              "<1 a x=\xC3\xA9>(1 \xC3\xA9\xF0\x9F\x98\x80)</1 a>");
    EXPECT_EQ(Events("\xEF\xBB\xBF<a>\xC3\xA9</a>"), "<1 a>(1 \xC3\xA9)</1 a>");
    EXPECT_EQ(Events("<?xml version='1.0' encoding='windows-1252'?><a>\x80\xE9\x9F</a>"),
              "<1 a>(1 \xE2\x82\xAC\xC3\xA9\xC5\xB8)</1 a>");
    EXPECT_EQ(Events("<?xml version='1.0' encoding='ISO-8859-15'?><a>\xA4\xE9</a>"),
              "<1 a>(1 \xE2\x82\xAC\xC3\xA9)</1 a>");
    EXPECT_EQ(Events(std::string("\xFF\xFE<\0a\0>\0\xE9\0\x3D\xD8\x00\xDE<\0/\0a\0>\0", 22)),
              "<1 a>(1 \xC3\xA9\xF0\x9F\x98\x80)</1 a>");
    EXPECT_EQ(Events("<?xml version='1.0' encoding='klingon'?><a/>").substr(0, 5), "!1:31");
    EXPECT_EQ(Events("<a>\xFF</a>"), "<1 a>!1:4 not well-formed (invalid token)");
}

TEST(ExpatParserTest, LongTextsAreCut) {
    const std::string most(799, 'x');
    EXPECT_EQ(Events("<a>" + most + "</a>"), "<1 a>(1 " + most + ")</1 a>");
    EXPECT_EQ(Events("<a>" + most + "y</a>"), "<1 a>(1 " + most + "...)</1 a>");
    EXPECT_EQ(Events(kLatin1 + "<a>" + most + "</a>"), "<1 a>(1 " + most + ")</1 a>");
    EXPECT_EQ(Events(kLatin1 + "<a>" + most + "y</a>"), "<1 a>(1 " + most + "...)</1 a>");
    EXPECT_EQ(Events(kLatin1 + "<a>" + most.substr(1) + "&amp;<![CDATA[yz]]></a>"),
              "<1 a>(1 " + most.substr(1) + "&...)</1 a>");
    // The limit is that of the whole text, and attributes have none.
    std::string pieces;
    for (int i = 0; i < 400; ++i)
        pieces += "ab<!-- -->";
    const std::string joined = [] {
        std::string text;
        for (int i = 0; i < 400; ++i)
            text += "ab";
        return text.substr(0, 799);
    }();
    EXPECT_EQ(Events("<a>" + pieces + "</a>"), "<1 a>(1 " + joined + "...)</1 a>");
    EXPECT_EQ(Events("<a x=\"" + most + most + "\"/>"), "<1 a x=" + most + most + "></1 a>");
}

TEST(ExpatParserTest, LongTextsAreCutBetweenCharacters) {
    std::string umlauts;
    for (int i = 0; i < 400; ++i)
        umlauts += "\xC3\xA9";
    // 800 bytes of UTF-8 for 400 characters: 399 of them fit.
    EXPECT_EQ(Events("<a>" + umlauts + "</a>"), "<1 a>(1 " + umlauts.substr(0, 798) + "...)</1 a>");
    EXPECT_EQ(Events("<a>x" + umlauts.substr(2) + "</a>"), "<1 a>(1 x" + umlauts.substr(2) + ")</1 a>");
    std::string faces;
    for (int i = 0; i < 200; ++i)
        faces += "\xF0\x9F\x98\x80";
    EXPECT_EQ(Events("<a>" + faces + "</a>"), "<1 a>(1 " + faces.substr(0, 796) + "...)</1 a>");
    // Every byte of an ISO-8859-1 file is a character.
    EXPECT_EQ(Events(kLatin1 + "<a>" + umlauts + "</a>"), "<1 a>(1 " + umlauts.substr(0, 799) + "...)</1 a>");
}

TEST(ExpatParserTest, LongWhiteSpaceIsStillNone) {
    EXPECT_EQ(Events("<a>" + std::string(5000, ' ') + "</a>"), "<1 a></1 a>");
    EXPECT_EQ(Events("<a>" + std::string(5000, ' ') + "x</a>"),
              "<1 a>(1 " + std::string(799, ' ') + "...)</1 a>");
}

TEST(ExpatParserTest, AnyBlockBoundary) {
    // Blocks are 256 KiB: a long text and tags around each of the boundaries.
    for (std::size_t shift = 0; shift < 12; ++shift) {
        std::string document = kLatin1 + "<a>";
        document += std::string(256 * 1024 - document.size() - shift, ' ');
        document += "<b x=\"\xC3\xA9\">\xC3\xA9\xFF&amp;</b></a>";
        EXPECT_EQ(Events(document), "<1 a><2 b x=\xC3\xA9>(2 \xC3\xA9\xFF&)</2 b></1 a>") << shift;
    }
}

TEST(ExpatParserTest, BrokenDocuments) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "!1:1 no element found"},
        {"  ", "!1:3 no element found"},
        {"text", "!1:1 syntax error"},
        {"<a>", "<1 a>!1:4 no element found"},
        {"<a", "!1:1 unclosed token"},
        {"<a>\n  <b>\n</a>", "<1 a><2 b>!3:3 mismatched tag"},
        {"<a/><b/>", "<1 a></1 a>!1:5 junk after document element"},
        {"<a x=1/>", "!1:6 not well-formed (invalid token)"},
        {"<a x='1' x='2'/>", "!1:10 duplicate attribute"},
        {"<a>&e;</a>", "<1 a>!1:4 undefined entity"},
        {"<a><![CDATA[x", "<1 a>!1:14 unclosed CDATA section"},
        {"<a>]]></a>", "<1 a>!1:6 not well-formed (invalid token)"},
        {"<a>\x01</a>", "<1 a>!1:4 not well-formed (invalid token)"},
        {"<a><!-- -- --></a>", "<1 a>!1:11 not well-formed (invalid token)"},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(Events(document), expected) << document;
}

TEST(ExpatParserTest, DocumentsThatReachOutsideTheFileAreRefused) {
    EXPECT_EQ(Events("<!DOCTYPE a SYSTEM \"a.dtd\"><a/>"),
              "!1:27 A document type outside the file is refused");
    EXPECT_EQ(Events("<!DOCTYPE a PUBLIC \"p\" \"a.dtd\"><a/>"),
              "!1:31 A document type outside the file is refused");
    EXPECT_EQ(Events("<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><a>&e;</a>").substr(0, 5),
              "!1:52");
    EXPECT_NE(Events("<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><a>&e;</a>")
                  .find("External entities are refused"),
              std::string::npos);
    EXPECT_NE(
        Events("<!DOCTYPE a [<!ENTITY e PUBLIC \"p\" \"u\">]><a/>").find("External entities are refused"),
        std::string::npos);
    EXPECT_NE(Events("<!DOCTYPE a [<!ENTITY % p SYSTEM \"u\"> %p;]><a>&e;</a>")
                  .find("External entities are refused"),
              std::string::npos);
    EXPECT_NE(Events("<!DOCTYPE a [<!ENTITY % p \"\"> %p;]><a>&e;</a>").find('!'), std::string::npos);
}

TEST(ExpatParserTest, EntitiesThatBlowUpAreRefused) {
    std::string laughs = "<!DOCTYPE a [<!ENTITY e0 \"0123456789\">";
    for (int i = 1; i < 12; ++i) {
        laughs += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k)
            laughs += "&e" + std::to_string(i - 1) + ";";
        laughs += "\">";
    }
    EXPECT_NE(Events(laughs + "]><a>&e11;</a>").find("limit on input amplification factor"),
              std::string::npos);
    std::string quadratic = "<!DOCTYPE a [<!ENTITY e \"" + std::string(100000, 'x') + "\">]><a>";
    for (int i = 0; i < 20000; ++i)
        quadratic += "&e;";
    EXPECT_NE(Events(quadratic + "</a>").find("limit on input amplification factor"), std::string::npos);
    EXPECT_NE(Events("<!DOCTYPE a [<!ENTITY e \"&e;\">]><a>&e;</a>").find("recursive entity"),
              std::string::npos);
}

TEST(ExpatParserTest, ErrorsCarryTheNumberOfTheParser) {
    EventLog log;
    EXPECT_EQ(Parse(log, "<a></b>"), ExpatParser::Result::Failed);
    EXPECT_EQ(log.code, 7);  // mismatched tag
}

TEST(ExpatParserTest, CancelStopsBehindAnElement) {
    EventLog log;
    log.cancelAt = 2;
    EXPECT_EQ(Parse(log, "<a><b><c/></b></a>"), ExpatParser::Result::Cancelled);
    EXPECT_EQ(log.text, "<1 a><2 b>");
    EventLog empty;  // the start of an empty element is its end too
    empty.cancelAt = 2;
    EXPECT_EQ(Parse(empty, "<a><b/><c/></a>"), ExpatParser::Result::Cancelled);
    EXPECT_EQ(empty.text, "<1 a><2 b>");
}

TEST(ExpatParserTest, AHandlerRefuses) {
    EventLog log;
    log.refuseAt = "b";
    EXPECT_EQ(Parse(log, "<a>\n <b/></a>"), ExpatParser::Result::Failed);
    EXPECT_EQ(log.text, "<1 a><2 b>!2:2 not this one");
}

TEST(ExpatParserTest, WhatAHandlerThrowsLeavesTheParse) {
    EventLog log;
    log.throwAt = "b";
    EXPECT_THROW(Parse(log, "<a><b/><c/></a>"), std::out_of_range);
    EXPECT_EQ(log.text, "<1 a><2 b>");
}

TEST(ExpatParserTest, ASourceThatFailedIsNoSecondError) {
    EventLog log;
    TextSource source("<a>");
    source.failAt = 3;
    ExpatParser parser(log);
    log.parser = &parser;
    EXPECT_EQ(parser.Parse(source), ExpatParser::Result::Failed);
    EXPECT_EQ(log.text, "");
}

TEST(ExpatParserTest, MessagesAreCut) {
    class Wordy : public EventLog {
      public:
        void OnEndElement(const XmlElement&) override { throw XmlRefusal(std::string(5000, 'm')); }
    };
    Wordy log;
    TextSource source("<a/>");
    ExpatParser parser(log);
    log.parser = &parser;
    EXPECT_EQ(parser.Parse(source), ExpatParser::Result::Failed);
    EXPECT_EQ(log.text, "<1 a>!1:5 " + std::string(799, 'm'));
}

// What is held of a text is its beginning, whatever its length.
TEST(ExpatParserTest, AHugeValue) {
    EventLog log;
    const std::string document = "<a>" + std::string(100 * 1000 * 1000, 'x') + "</a>";
    EXPECT_EQ(Parse(log, document), ExpatParser::Result::Complete);
    EXPECT_EQ(log.text, "<1 a>(1 " + std::string(799, 'x') + "...)</1 a>");
}

}  // namespace
}  // namespace qxdbsqlengine
