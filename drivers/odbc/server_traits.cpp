#include "drivers/odbc/server_traits.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <vector>

namespace qxdrivers::odbc {

namespace {

struct Product {
    const char* word;  // in lower case
    Family family;
};

// The first whose word is in the name wins.
constexpr Product products[] = {
    {"mariadb", Family::MySQL},
    {"mysql", Family::MySQL},
    {"postgres", Family::PostgreSQL},
    {"microsoft sql server", Family::SQLServer},
    {"adaptive server", Family::Sybase},
    {"sybase", Family::Sybase},
    {"ase", Family::Sybase},
    {"sql server", Family::SQLServer},
    {"oracle", Family::Oracle},
    {"db2", Family::DB2},
};

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

// The numbers of a version text, without leading zeros, up to the first part that is no number.
std::vector<std::string> Parts(std::string_view version) {
    std::vector<std::string> parts;
    const char* at = version.data();
    const char* const end = at + version.size();
    int number = 0;
    for (;;) {
        const std::from_chars_result read = std::from_chars(at, end, number);
        if (read.ec != std::errc() || number < 0) {
            return parts;
        }
        parts.push_back(std::to_string(number));
        if (read.ptr == end || *read.ptr != '.') {
            return parts;
        }
        at = read.ptr + 1;
    }
}

}  // namespace

Family FamilyOf(std::string_view productName) {
    const std::string name = Lower(productName);
    for (const Product& product : products) {
        const bool whole = std::string_view(product.word) == "ase";
        if (whole ? name == product.word : name.find(product.word) != std::string::npos) {
            return product.family;
        }
    }
    return Family::Other;
}

qxdb::DBTYPE ServerTypeOf(Family family, std::string_view productName) {
    switch (family) {
        case Family::MySQL:
            return qxdb::DBTYPE_MYSQL;
        case Family::SQLServer:
            return qxdb::DBTYPE_SQLSERVER;
        case Family::Sybase:
            return qxdb::DBTYPE_SYBASE;
        case Family::Oracle:
            return qxdb::DBTYPE_ORACLE;
        case Family::DB2:
            return Lower(productName) == "db2" ? qxdb::DBTYPE_DB2OS390 : qxdb::DBTYPE_DB2;
        default:
            return qxdb::DBTYPE_OTHER;
    }
}

double VersionNumber(Family family, std::string_view version) {
    std::vector<std::string> parts = Parts(version);
    if (parts.empty()) {
        return 0;
    }
    parts.resize(3, "");
    // Two digits behind the point where the tradition has no more than a release number there.
    const auto twoDigits = [](const std::string& part) { return part.size() < 2 ? "0" + part : part; };
    std::string behind = parts[1] + parts[2];
    if (family == Family::DB2 || family == Family::SQLServer) {
        behind = twoDigits(parts[1]);
    } else if (family == Family::PostgreSQL && parts[0].size() > 1) {
        // From 10 on two numbers make the version. The driver writes 15.18 as 15.0.18.
        behind = twoDigits(parts[2].empty() ? parts[1] : parts[2]);
    }
    const std::string text = parts[0] + "." + behind;
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace qxdrivers::odbc
