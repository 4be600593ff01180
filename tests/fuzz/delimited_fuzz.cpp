// The first byte picks a format, the second the size of the blocks that are read, the others are the file.
// What the reader makes of it must be what the rules say, told byte by byte; and what is written in quotes
// must come back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "persistence/delimited_reader.h"
#include "persistence/field_encoder.h"

using qxdbsqlengine::ByteSource;
using qxdbsqlengine::DelimitedReader;
using qxdbsqlengine::FieldEncoder;
using qxdbsqlengine::FieldRules;
using qxdbsqlengine::OutputBuffer;

namespace {

using Records = std::vector<std::vector<std::string>>;

constexpr char kSeparators[] = {',', '\t', '|', ';', '"', '\'', '\0', '\xA7'};

class TextSource : public ByteSource {
  public:
    explicit TextSource(const std::string& text) : bytes(text) {}
    std::size_t Read(char* to, std::size_t count) override {
        const std::size_t given = std::min(count, bytes.size() - position);
        std::memcpy(to, bytes.data() + position, given);
        position += given;
        return given;
    }

  private:
    const std::string& bytes;
    std::size_t position = 0;
};

Records ReadAll(const std::string& text, char separator, bool quotes, std::size_t block) {
    TextSource source(text);
    DelimitedReader reader(source, block);
    reader.SetFormat(separator, quotes);
    reader.Start();
    Records records;
    std::vector<std::string> fields;
    long long position = 0;
    while (reader.ReadRecord(fields)) {
        records.push_back(fields);
        QX_FUZZ_CHECK(reader.Position() > position);
        position = reader.Position();
    }
    QX_FUZZ_CHECK(fields.empty() && reader.AtEnd());
    QX_FUZZ_CHECK(reader.Position() == static_cast<long long>(text.size()));
    return records;
}

// The rules, one byte after the other.
class SlowReader {
  public:
    SlowReader(const std::string& text, char newSeparator, bool newQuotes)
        : bytes(text), separator(newSeparator), quotes(newQuotes) {
        if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
            next = 3;
    }

    Records Read() {
        Records records;
        while (next < bytes.size()) {
            records.emplace_back();
            if (LineEnd() != 0)
                next += LineEnd();
            else
                ReadLine(records.back());
        }
        return records;
    }

  private:
    bool Is(std::size_t at, char byte) const { return at < bytes.size() && bytes[at] == byte; }
    bool IsQuote(char byte) const { return quotes && byte != separator && (byte == '"' || byte == '\''); }
    std::size_t LineEnd() const {
        if (Is(next, '\n'))
            return 1;
        if (Is(next, '\r') && next + 1 == bytes.size())
            return 1;
        return Is(next, '\r') && Is(next + 1, '\n') ? 2 : 0;
    }

    void ReadLine(std::vector<std::string>& fields) {
        fields.emplace_back();
        char open = '\0';
        bool inQuotes = false;
        for (; next < bytes.size(); ++next) {
            const char byte = bytes[next];
            std::string& field = fields.back();
            if (inQuotes) {
                if (byte != open)
                    field += byte;
                else if (Is(next + 1, open))
                    field += bytes[next++];
                else
                    inQuotes = false;
            } else if (LineEnd() != 0) {
                next += LineEnd();
                return;
            } else if (IsQuote(byte)) {
                if (Is(next + 1, byte) && !Is(next + 2, byte)) {
                    field += bytes[next++];
                } else if (field.find_first_not_of(" \t\n\v\f\r") == std::string::npos) {
                    inQuotes = true;
                    open = byte;
                } else {
                    field += byte;
                }
            } else if (byte == separator) {
                fields.emplace_back();
            } else {
                field += byte;
            }
        }
    }

    const std::string& bytes;
    const char separator;
    const bool quotes;
    std::size_t next = 0;
};

std::string WithoutReturns(const std::string& value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\r')
            text += value[i];
        else if (i + 1 == value.size() || value[i + 1] != '\n')
            text += ' ';
    }
    return text;
}

void CheckThatQuotedFieldsComeBack(const std::vector<std::string>& fields, char separator) {
    FieldRules rules;
    rules.delimiter = separator;
    rules.quote = separator == '"' ? '\'' : '"';
    rules.expandTabs = false;
    FieldEncoder encoder;
    encoder.SetRules(rules);
    OutputBuffer line(64);
    std::vector<std::string> expected;
    for (const std::string& field : fields) {
        OutputBuffer encoded(64);
        encoder.Append(field, encoded);
        if (encoded.Size() == 0 || encoded.Data()[0] != rules.quote)
            continue;
        if (!expected.empty())
            line.Append(separator);
        line.Append({encoded.Data(), encoded.Size()});
        expected.push_back(WithoutReturns(field));
    }
    if (expected.empty())
        return;
    line.Append("\r\n");
    const std::string text(line.Data(), line.Size());
    QX_FUZZ_CHECK(ReadAll(text, separator, true, DelimitedReader::kBlock) == Records{expected});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const char separator = kSeparators[data[0] % sizeof kSeparators];
    const bool quotes = data[0] / sizeof kSeparators % 2 == 0;
    const std::size_t block = 4 + data[1] % 64;
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);

    const Records records = ReadAll(text, separator, quotes, block);
    QX_FUZZ_CHECK(records == SlowReader(text, separator, quotes).Read());
    for (const std::vector<std::string>& fields : records)
        CheckThatQuotedFieldsComeBack(fields, separator);
    return 0;
}
