#include "drivers/odbc/connection_text.h"

#include <odbcinst.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

bool ContainsIgnoringCase(std::string_view text, std::string_view word) {
    for (std::size_t i = 0; i + word.size() <= text.size(); ++i) {
        if (EqualIgnoringCase(text.substr(i, word.size()), word)) {
            return true;
        }
    }
    return false;
}

std::string_view Trim(std::string_view text) {
    const auto isBlank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// The value that begins at `at`, which moves behind the separator that ends it.
std::string ReadValue(std::string_view text, std::size_t& at) {
    while (at < text.size() && text[at] == ' ') {
        ++at;
    }
    if (at == text.size() || text[at] != '{') {
        const std::size_t end = std::min(text.find(';', at), text.size());
        const std::string value(Trim(text.substr(at, end - at)));
        at = end + 1;
        return value;
    }
    std::string value;
    for (++at;; ++at) {
        if (at >= text.size()) {
            ThrowRefusal("A \"{\" in the connection text is never closed", "HY000");
        }
        if (text[at] != '}') {
            value += text[at];
        } else if (at + 1 < text.size() && text[at + 1] == '}') {
            value += text[at++];
        } else {
            break;
        }
    }
    at = std::min(text.find(';', at), text.size()) + 1;
    return value;
}

// --- What known drivers need ---

struct Setting {
    const char* keyword;
    const char* value;
};

// Text arrives as UTF-8, whatever the locale of the process is.
constexpr Setting mariadbSettings[] = {{"CHARSET", "utf8mb4"}};
constexpr Setting mysqlSettings[] = {{"CHARSET", "utf8mb4"}};
constexpr Setting postgresSettings[] = {
    {"BoolsAsChar", "0"},
    // By default the driver answers an error by rolling the user's transaction back, and then runs what
    // follows outside of any.
    {"Protocol", "7.4-0"},
};

struct KnownDriver {
    const char* library;  // a part of the library's file name
    const Setting* settings;
    std::size_t count;
};

constexpr KnownDriver knownDrivers[] = {
    {"maodbc", mariadbSettings, std::size(mariadbSettings)},
    {"myodbc", mysqlSettings, std::size(mysqlSettings)},
    {"psqlodbc", postgresSettings, std::size(postgresSettings)},
};

std::string ReadProfile(const std::string& section, const char* entry, const char* file) {
    char value[1024] = {};
    SQLGetPrivateProfileString(section.c_str(), entry, "", value, static_cast<int>(sizeof value), file);
    return value;
}

// The file of the driver that a text or its data source names; empty when that can't be told.
std::string DriverLibrary(const ConnectionText& text) {
    std::string driver = text.Get("DRIVER");
    if (driver.empty() && text.Has("DSN")) {
        driver = ReadProfile(text.Get("DSN"), "Driver", "odbc.ini");
    }
    if (driver.empty() || driver.find('/') != std::string::npos) {
        return driver;
    }
    const std::string library = ReadProfile(driver, "Driver", "odbcinst.ini");
    return library.empty() ? driver : library;
}

void AddSettings(ConnectionText& text) {
    const std::string library = DriverLibrary(text);
    const std::string file = library.substr(library.rfind('/') + 1);
    for (const KnownDriver& known : knownDrivers) {
        if (!ContainsIgnoringCase(file, known.library)) {
            continue;
        }
        for (std::size_t i = 0; i < known.count; ++i) {
            const Setting& setting = known.settings[i];
            const bool given =
                text.Has(setting.keyword) ||
                (text.Has("DSN") && !ReadProfile(text.Get("DSN"), setting.keyword, "odbc.ini").empty());
            if (!given) {
                text.Add(setting.keyword, setting.value);
            }
        }
    }
}

unsigned int ReadNumber(std::string_view option, std::string_view value, unsigned int smallest,
                        unsigned int greatest) {
    unsigned int number = 0;
    const char* const end = value.data() + value.size();
    const std::from_chars_result read = std::from_chars(value.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number < smallest || number > greatest) {
        ThrowRefusal("The option \"" + std::string(option) + "\" takes a number from " +
                         std::to_string(smallest) + " to " + std::to_string(greatest),
                     "HY024");
    }
    return number;
}

}  // namespace

ConnectionText ConnectionText::Parse(const std::string& text) {
    ConnectionText result;
    if (text.find('=') == std::string::npos) {
        result.Add("DSN", std::string(Trim(text)));
        return result;
    }
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = text.find_first_of("=;", at);
        const std::string_view keyword = Trim(std::string_view(text).substr(at, end - at));
        if (end != std::string::npos && text[end] == '=' && !keyword.empty()) {
            at = end + 1;
            std::string value = ReadValue(text, at);
            result.Add(std::string(keyword), value);
        } else if (keyword.empty() && (end == std::string::npos || text[end] == ';')) {
            at = end == std::string::npos ? text.size() : end + 1;
        } else {
            ThrowRefusal(
                "The connection text has \"" + std::string(keyword) + "\" where KEYWORD=VALUE should be",
                "HY000");
        }
    }
    return result;
}

bool ConnectionText::Has(std::string_view keyword) const {
    return std::any_of(pairs.begin(), pairs.end(),
                       [&](const auto& pair) { return EqualIgnoringCase(pair.first, keyword); });
}

std::string ConnectionText::Get(std::string_view keyword) const {
    for (const auto& [name, value] : pairs) {
        if (EqualIgnoringCase(name, keyword)) {
            return value;
        }
    }
    return std::string();
}

void ConnectionText::Add(const std::string& keyword, const std::string& value) {
    pairs.emplace_back(keyword, value);
}

std::string ConnectionText::AsString() const {
    std::string text;
    for (const auto& [keyword, value] : pairs) {
        text += (text.empty() ? "" : ";") + keyword + "=";
        const bool plain = value.find_first_of("[]{}(),;?*=!@") == std::string::npos && Trim(value) == value;
        if (plain) {
            text += value;
            continue;
        }
        text += '{';
        for (const char c : value) {
            text.append(c == '}' ? 2 : 1, c);
        }
        text += '}';
    }
    return text;
}

DriverOptions DriverOptions::Parse(const std::string& text) {
    constexpr const char* separators = " \t\r\n,;";
    constexpr unsigned int longestTimeout = 24 * 60 * 60;
    DriverOptions options;
    std::size_t begin = text.find_first_not_of(separators);
    while (begin != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        const std::string_view option = std::string_view(text).substr(begin, end - begin);
        const std::size_t equals = std::min(option.find('='), option.size());
        const std::string_view name = option.substr(0, equals);
        const std::string_view value = option.substr(std::min(equals + 1, option.size()));
        if (EqualIgnoringCase(name, "connect-timeout")) {
            options.connectTimeoutSeconds = ReadNumber(option, value, 1, longestTimeout);
        } else if (EqualIgnoringCase(name, "block")) {
            options.blockRows = ReadNumber(option, value, 1, 1000);
        } else if (EqualIgnoringCase(option, "warnings=off") || EqualIgnoringCase(option, "warnings=on")) {
            options.asksForWarnings = EqualIgnoringCase(value, "on");
        } else if (EqualIgnoringCase(option, "getdata=sequential")) {
            options.readsSequentially = true;
        } else if (EqualIgnoringCase(option, "unlimited=lob")) {
            options.unlimitedAsLob = true;
        } else if (!EqualIgnoringCase(option, "create")) {
            ThrowRefusal("Unknown option \"" + std::string(option) +
                             "\"; known are connect-timeout=SECONDS, block=ROWS, warnings=off, "
                             "getdata=sequential and unlimited=lob",
                         "HY024");
        }
        begin = text.find_first_not_of(separators, end);
    }
    return options;
}

std::string CompleteConnectionText(const qxdb::ConnectionDef& definition) {
    ConnectionText text = ConnectionText::Parse(definition.GetDataSource());
    if (!definition.GetUser().empty() && !text.Has("UID")) {
        text.Add("UID", definition.GetUser());
    }
    if (!definition.GetPassword().empty() && !text.Has("PWD")) {
        text.Add("PWD", definition.GetPassword());
    }
    AddSettings(text);
    return text.AsString();
}

}  // namespace qxdrivers::odbc
