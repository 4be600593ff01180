// Texts of large objects are the same, byte for byte, or they are refused.
#include <gtest/gtest.h>

#include "drivers/odbc_lob_support.h"

namespace {

using qxtest::Failure;
using qxtest::FailureOf;
using qxtest::LocatorOf;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::OpenWithPacket;
using qxtest::OwnName;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestFile;
using qxtest::TestTable;
using Cells = std::list<std::string>;
using Lines = std::vector<std::string>;

const std::string euro = "\xC3\xA4 \xE2\x82\xAC";
const std::string cyrillic = "\xD1\x89";
const std::string emoji = "\xF0\x9F\x98\x80";

// In one piece, and in several on every server.
std::vector<std::string> Long(const std::string& text) {
    return {text, std::string(600000, 'x') + text + std::string(600000, 'y')};
}

class LobTexts : public testing::Test {
  protected:
    // Imports a content into the only row of a table, and exports it again.
    Failure Import(const std::string& column, const std::string& content) {
        const TestFile source("source", content);
        Cells row{"1", ""};
        return FailureOf([&] { LocatorOfColumn(column).Import(source.name, connection, &row); });
    }
    std::string Export(const std::string& column) {
        const TestFile target("target");
        Cells row{"1", ""};
        LocatorOfColumn(column).Export(target.name, connection, &row);
        return target.Content();
    }
    void CheckFits(const std::string& column, const std::string& text) {
        for (const std::string& content : Long(text)) {
            SCOPED_TRACE(column + " " + std::to_string(content.size()));
            const TestFile source("source", content);
            Cells row{"1", ""};
            LocatorOfColumn(column).Import(source.name, connection, &row);
            EXPECT_TRUE(Export(column) == content);
        }
    }
    // The old value stays.
    void CheckRefused(const std::string& column, const std::string& text, const std::string& state) {
        RunAll(connection, "UPDATE " + OwnName("lob_texts") + " SET " + column + " = 'before'");
        for (const std::string& content : Long(text)) {
            SCOPED_TRACE(column + " " + std::to_string(content.size()));
            const Failure failure = Import(column, content);
            EXPECT_EQ(failure.state, state) << failure.text;
            EXPECT_EQ(Rows(connection, "SELECT COUNT(*) FROM " + OwnName("lob_texts") + " WHERE " + column +
                                           " = 'before'"),
                      Lines{"1"});
        }
    }

    qxdb::Connection connection;

  private:
    qxdb::LobLocator LocatorOfColumn(const std::string& column) {
        return LocatorOf(connection, "SELECT n, " + column + " FROM " + OwnName("lob_texts") + " WHERE n > 1",
                         1, OwnName("lob_texts"));
    }
};

TEST_F(LobTexts, OfMariaDBInAnyCharacterSet) {
    connection = OpenWithPacket(1024 * 1024);
    TestTable table(connection, OwnName("lob_texts"),
                    "n INT PRIMARY KEY, l LONGTEXT CHARACTER SET latin1, u LONGTEXT CHARACTER SET utf8mb4, "
                    "s LONGTEXT CHARACTER SET utf8mb3, w LONGTEXT CHARACTER SET utf16");
    RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
    for (const char* const mode : {"STRICT_TRANS_TABLES", ""}) {
        SCOPED_TRACE(mode);
        RunAll(connection, std::string("SET sql_mode = '") + mode + "'");
        CheckFits("l", euro);
        CheckFits("u", euro + cyrillic + emoji + std::string(1, '\0') + "\r\n\\'");
        CheckFits("s", euro + cyrillic);
        CheckFits("w", euro + cyrillic + emoji);
        CheckRefused("l", cyrillic, "22007");
        CheckRefused("s", emoji, "22007");
        EXPECT_EQ(Rows(connection, "SELECT @@sql_mode"), Lines{mode});
    }
    for (const char* const column : {"l", "u", "s", "w"}) {
        for (const char* const broken : {"\xC3(", "\xFF", "\xE2\x82", "\xF5\x80\x80\x80"}) {
            CheckRefused(column, broken, "HY000");
        }
    }
}

// The connection's own character set has no part in it.
TEST_F(LobTexts, OfMariaDBOverAConnectionOfFewCharacters) {
    connection = OpenMariaDB("CHARSET=latin1");
    TestTable table(connection, OwnName("lob_texts"), "n INT PRIMARY KEY, u LONGTEXT CHARACTER SET utf8mb4");
    RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
    CheckFits("u", euro + cyrillic + emoji);
    CheckRefused("u", "\xC3(", "HY000");
}

// A column that is too short takes nothing, though the server's mode would have the value cut.
TEST_F(LobTexts, OfMariaDBThatAreTooLong) {
    connection = OpenMariaDB();
    TestTable table(connection, OwnName("lob_texts"), "n INT PRIMARY KEY, t MEDIUMTEXT, b MEDIUMBLOB");
    RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
    RunAll(connection, "SET sql_mode = ''");
    constexpr std::size_t longest = 16777215;
    for (const char* const column : {"t", "b"}) {
        const std::string fits(longest, 'x');
        const TestFile source("source", fits);
        EXPECT_EQ(Import(column, fits + "y").code, 1406);
        EXPECT_EQ(Export(column), "");
    }
}

// What a transfer leaves on the server is no warning of the statement behind it.
TEST_F(LobTexts, OfMariaDBWithoutWarnings) {
    connection = OpenWithPacket(1024 * 1024);
    TestTable table(connection, OwnName("lob_texts"), "n INT PRIMARY KEY, l LONGTEXT CHARACTER SET latin1");
    RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
    qxtest::Messages messages;
    connection.SetCallback(&messages);
    for (const std::string& content : Long(cyrillic)) {
        EXPECT_NE(Import("l", content).text, "");
        RunAll(connection, "SET @qx_text = 1");
        CheckFits("l", euro);
        RunAll(connection, "SET @qx_text = 1");
    }
    connection.SetCallback(nullptr);
    for (const qxdb::RawMessage& message : messages.all) {
        ADD_FAILURE() << message.text;
    }
}

TEST_F(LobTexts, OfPostgres) {
    connection = OpenPostgres("", "unlimited=lob");
    TestTable table(connection, OwnName("lob_texts"), "n integer PRIMARY KEY, u text, v varchar(2000000)");
    RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
    CheckFits("u", euro + cyrillic + emoji + "\r\n\\'");
    for (const std::string& broken : {std::string(1, '\0'), std::string("\xC3("), std::string("\xFF"),
                                      std::string("\xE2\x82"), std::string("\xED\xA0\x80")}) {
        CheckRefused("u", broken, "22021");
    }
    EXPECT_EQ(Import("v", std::string(2000001, 'x')).state, "22001");
    EXPECT_EQ(Export("v"), "");
}

// A database of another encoding.
TEST_F(LobTexts, OfPostgresInLatin1) {
    qxdb::Connection owner = OpenPostgres();
    RunAll(owner, "DROP DATABASE IF EXISTS qx_latin1");
    RunAll(owner, "CREATE DATABASE qx_latin1 ENCODING 'LATIN1' LOCALE 'C' TEMPLATE template0");
    connection = OpenPostgres("Database=qx_latin1", "unlimited=lob");
    {
        TestTable table(connection, OwnName("lob_texts"), "n integer PRIMARY KEY, u text");
        RunAll(connection, "INSERT INTO " + OwnName("lob_texts") + "(n) VALUES(1)");
        CheckFits("u", "\xC3\xA4 \xC3\xBF");
        CheckRefused("u", cyrillic, "22P05");
        CheckRefused("u", "\xC3(", "22021");
    }
    connection = qxdb::Connection();
}

}  // namespace
