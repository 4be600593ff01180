// The text that names a data source, and what this driver adds to it.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/qxdb/manager.h"

namespace qxdrivers::odbc {

// Keyword and value pairs in their order: "Driver={My Driver};Server=host". A value in braces is taken to the
// closing brace, a doubled one stands for itself.
class ConnectionText {
  public:
    // A text without any "=" is the name of a data source. Throws Errors for a pair without "=" and for a
    // brace that is never closed.
    static ConnectionText Parse(const std::string& text);

    // Keywords in either case.
    bool Has(std::string_view keyword) const;
    // Empty where the keyword is missing.
    std::string Get(std::string_view keyword) const;
    // Adds a pair; the caller makes sure that there is none of that keyword.
    void Add(const std::string& keyword, const std::string& value);
    // The text again, with braces around the values that need them.
    std::string AsString() const;

  private:
    std::vector<std::pair<std::string, std::string>> pairs;
};

// Options of this driver itself, in the options text of a connection, separated by blanks, commas or
// semicolons.
struct DriverOptions {
    unsigned int connectTimeoutSeconds = 0;  // connect-timeout=SECONDS; 0: the driver's own
    unsigned int blockRows = 1000;           // block=ROWS, 1 to 1000: most rows of one fetch
    bool asksForWarnings = true;             // warnings=off: MySQL's warnings are not asked for
    bool readsSequentially = false;          // getdata=sequential: whatever the driver says of SQLGetData
    bool unlimitedAsLob = false;             // unlimited=lob: PostgreSQL's text and bytea are large objects

    // Throws Errors for an unknown option and for a bad value. "create", which concerns files, is passed
    // over.
    static DriverOptions Parse(const std::string& text);
};

// The text to connect with: the data source of the definition with its user and password, and with the
// settings that this driver needs of the known drivers unless the text or the data source has its own. Throws
// Errors.
std::string CompleteConnectionText(const qxdb::ConnectionDef& definition);

}  // namespace qxdrivers::odbc
