// The texts of connections and of the driver's options.
#include <gtest/gtest.h>

#include "drivers/odbc/connection_text.h"
#include "support/driver_support.h"

namespace {

using qxdrivers::odbc::CompleteConnectionText;
using qxdrivers::odbc::ConnectionText;
using qxdrivers::odbc::DriverOptions;
using qxtest::FailureOf;

TEST(OdbcConnectionText, ReadsPairs) {
    struct Case {
        const char* text;
        const char* written;
    };
    static constexpr Case cases[] = {
        {"source", "DSN=source"},
        {"  my source ", "DSN=my source"},
        {"", "DSN="},
        {"Driver=MariaDB;Server=host", "Driver=MariaDB;Server=host"},
        {" Driver = MariaDB ; Server = host ; ", "Driver=MariaDB;Server=host"},
        {"Driver={PostgreSQL Unicode};PWD={a;b}", "Driver=PostgreSQL Unicode;PWD={a;b}"},
        {"PWD={a}}b};X=1", "PWD={a}}b};X=1"},
        {"PWD={ blank }", "PWD={ blank }"},
        {"A=1;;B=", "A=1;B="},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ConnectionText::Parse(c.text).AsString(), c.written) << c.text;
    }
    const ConnectionText text = ConnectionText::Parse("driver={My Driver};PWD={x}}y}");
    EXPECT_TRUE(text.Has("DRIVER"));
    EXPECT_FALSE(text.Has("DSN"));
    EXPECT_EQ(text.Get("Driver"), "My Driver");
    EXPECT_EQ(text.Get("pwd"), "x}y");
    EXPECT_EQ(text.Get("UID"), "");
}

TEST(OdbcConnectionText, RefusesWhatIsNoPair) {
    EXPECT_EQ(FailureOf([] { ConnectionText::Parse("A=1;nonsense;B=2"); }).text,
              "The connection text has \"nonsense\" where KEYWORD=VALUE should be");
    EXPECT_EQ(FailureOf([] { ConnectionText::Parse("A=1;=2"); }).text,
              "The connection text has \"\" where KEYWORD=VALUE should be");
    EXPECT_EQ(FailureOf([] { ConnectionText::Parse("PWD={secret"); }).text,
              "A \"{\" in the connection text is never closed");
}

std::string Completed(const std::string& text, const std::string& user = "",
                      const std::string& password = "") {
    return CompleteConnectionText(
        qxdb::ConnectionDef(qxdb::DBTYPE_UNSET, text, user, password, "odbc", std::string()));
}

TEST(OdbcConnectionText, AddsUserAndPassword) {
    EXPECT_EQ(Completed("Driver=/x/libother.so", "me", "it;s"), "Driver=/x/libother.so;UID=me;PWD={it;s}");
    EXPECT_EQ(Completed("Driver=/x/libother.so;uid=you;pwd=y", "me", "mine"),
              "Driver=/x/libother.so;uid=you;pwd=y");
}

TEST(OdbcConnectionText, AddsWhatKnownDriversNeed) {
    EXPECT_EQ(Completed("Driver=/x/libmaodbc.so"), "Driver=/x/libmaodbc.so;CHARSET=utf8mb4");
    EXPECT_EQ(Completed("Driver=/x/libmyodbc8w.so"), "Driver=/x/libmyodbc8w.so;CHARSET=utf8mb4");
    EXPECT_EQ(Completed("Driver=/x/libmaodbc.so;charset=latin1"), "Driver=/x/libmaodbc.so;charset=latin1");
    EXPECT_EQ(Completed("Driver=/x/psqlodbcw.so"), "Driver=/x/psqlodbcw.so;BoolsAsChar=0;Protocol=7.4-0");
    EXPECT_EQ(Completed("Driver=/x/psqlodbcw.so;Protocol=7.4-2"),
              "Driver=/x/psqlodbcw.so;Protocol=7.4-2;BoolsAsChar=0");
    EXPECT_EQ(Completed("Driver=/maodbc/other.so"), "Driver=/maodbc/other.so");
}

TEST(OdbcOptions, AreRead) {
    const DriverOptions plain = DriverOptions::Parse("");
    EXPECT_EQ(plain.connectTimeoutSeconds, 0u);
    EXPECT_EQ(plain.blockRows, 1000u);
    EXPECT_TRUE(plain.asksForWarnings);
    EXPECT_FALSE(plain.readsSequentially);
    EXPECT_FALSE(plain.unlimitedAsLob);
    const DriverOptions options = DriverOptions::Parse(
        " Connect-Timeout=7, BLOCK=10;warnings=OFF create\tgetdata=sequential unlimited=LOB");
    EXPECT_EQ(options.connectTimeoutSeconds, 7u);
    EXPECT_EQ(options.blockRows, 10u);
    EXPECT_FALSE(options.asksForWarnings);
    EXPECT_TRUE(options.readsSequentially);
    EXPECT_TRUE(options.unlimitedAsLob);
    EXPECT_TRUE(DriverOptions::Parse("warnings=on").asksForWarnings);
    for (const char* const bad :
         {"block=0", "block=1001", "block=", "block=x", "block=1x", "connect-timeout=0"}) {
        EXPECT_EQ(FailureOf([&] { DriverOptions::Parse(bad); }).state, "HY024") << bad;
    }
    EXPECT_EQ(FailureOf([] { DriverOptions::Parse("block=1001"); }).text,
              "The option \"block=1001\" takes a number from 1 to 1000");
    EXPECT_EQ(
        FailureOf([] { DriverOptions::Parse("warnings=maybe"); }).text,
        "Unknown option \"warnings=maybe\"; known are connect-timeout=SECONDS, block=ROWS, warnings=off, "
        "getdata=sequential and unlimited=lob");
}

}  // namespace
