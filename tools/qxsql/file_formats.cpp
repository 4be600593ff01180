#include "tools/qxsql/file_formats.h"

#include <filesystem>
#include <stdexcept>

namespace qxsql {

using qxdbsqlengine::ResultFileType;

namespace {

struct Format {
    const char* name;
    ResultFileType type;
    bool isRead;
};

const Format formats[] = {
    {"tab", qxdbsqlengine::ResultFileTab, true},
    {"comma", qxdbsqlengine::ResultFileComma, true},
    {"pipe", qxdbsqlengine::ResultFilePipe, true},
    {"delimited", qxdbsqlengine::ResultFileDelimited, true},
    {"html", qxdbsqlengine::ResultFileHtml, false},
    {"excel", qxdbsqlengine::ResultFileExcel, false},
    {"excelxml", qxdbsqlengine::ResultFileSpreadsheetXml, false},
    {"xml", qxdbsqlengine::ResultFileXml, true},
    {"insert", qxdbsqlengine::ResultFileInsert, false},
};

// Spreadsheet XML has no extension of its own: .xml is the format that is read back.
const struct {
    const char* extension;
    ResultFileType type;
} extensions[] = {
    {".csv", qxdbsqlengine::ResultFileComma}, {".psv", qxdbsqlengine::ResultFilePipe},
    {".pipe", qxdbsqlengine::ResultFilePipe}, {".html", qxdbsqlengine::ResultFileHtml},
    {".htm", qxdbsqlengine::ResultFileHtml},  {".xls", qxdbsqlengine::ResultFileExcel},
    {".xml", qxdbsqlengine::ResultFileXml},   {".sql", qxdbsqlengine::ResultFileInsert},
};

const Format* FindFormat(const std::string& name) {
    for (const Format& format : formats) {
        if (name == format.name)
            return &format;
    }
    return nullptr;
}

const Format& FormatOf(ResultFileType type) {
    for (const Format& format : formats) {
        if (format.type == type)
            return format;
    }
    return formats[0];
}

std::string ExtensionOf(const std::string& fileName) {
    std::string extension = std::filesystem::path(fileName).extension().string();
    for (char& c : extension)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return extension;
}

ResultFileType TypeByExtension(const std::string& fileName) {
    const std::string extension = ExtensionOf(fileName);
    for (const auto& one : extensions) {
        if (extension == one.extension)
            return one.type;
    }
    return qxdbsqlengine::ResultFileTab;
}

std::string Names(bool onlyRead) {
    std::string names;
    for (const Format& format : formats) {
        if (format.isRead || !onlyRead)
            names += (names.empty() ? "" : ", ") + std::string(format.name);
    }
    return names;
}

}  // namespace

ResultFileType OutputType(const CommandLine& line) {
    if (!line.format.empty())
        return FindFormat(line.format)->type;
    if (line.delimiter && line.readFile.empty())
        return qxdbsqlengine::ResultFileDelimited;
    return TypeByExtension(line.outputFile);
}

ResultFileType InputType(const CommandLine& line) {
    if (!line.readFormat.empty())
        return FindFormat(line.readFormat)->type;
    if (line.delimiter)
        return qxdbsqlengine::ResultFileDelimited;
    const ResultFileType type = TypeByExtension(line.readFile);
    if (!FormatOf(type).isRead)
        throw std::invalid_argument(
            "--read " + line.readFile + ": " + FormatOf(type).name +
            " is not read back; --read-format tells when the file is something else: " + InputFormatNames());
    return type;
}

std::string OutputFormatNames() {
    return Names(false);
}

std::string InputFormatNames() {
    return Names(true);
}

bool IsOutputFormat(const std::string& name) {
    return FindFormat(name) != nullptr;
}

bool IsInputFormat(const std::string& name) {
    const Format* const format = FindFormat(name);
    return format != nullptr && format->isRead;
}

bool IsDocument(ResultFileType type) {
    return type == qxdbsqlengine::ResultFileHtml || type == qxdbsqlengine::ResultFileExcel ||
           type == qxdbsqlengine::ResultFileSpreadsheetXml || type == qxdbsqlengine::ResultFileXml;
}

}  // namespace qxsql
