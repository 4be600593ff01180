// The driver for servers that speak ODBC, on the driver manager of the system.
//
// Data source: the name of an ODBC data source, or a connection text ("Driver=MariaDB;Server=host;..."),
// which has at least one "=". User and password of the definition are added unless the text has its own. Of
// the drivers that it knows it sets what it needs, unless text or data source say otherwise: CHARSET=utf8mb4
// for those of MariaDB and MySQL; BoolsAsChar=0 and Protocol=7.4-0 for PostgreSQL's.
//
// Options, separated by blanks, commas or semicolons, in either case:
//   connect-timeout=SECONDS   limit of connecting
//   block=ROWS                most rows of one fetch, 1 to 1000; 1000 by default
//   warnings=off              MySQL's warnings are not asked for, so that ROW_COUNT() and FOUND_ROWS() of the
//                             next statement still tell of the one before it
//   getdata=sequential        the driver reads long values only from left to right, whatever it says
//   unlimited=lob             PostgreSQL's text and bytea are large objects; they are String and Binary
//   otherwise
//
// Server type and version are the server's own (SQLGetInfo); a type that the caller gives wins over them.
//
// Results come as the server sends them. A statement without columns gives a row count when it changes rows
// by its first word (INSERT, UPDATE, DELETE, REPLACE, MERGE, WITH, LOAD, COPY), or when it has changed some;
// all others give no result at all. Rows are fetched in blocks into at most 4 MiB. Queries of PostgreSQL that
// read a table run through a cursor on the server, in a transaction of their own when the user has none open.
// Texts of several statements run where the driver takes them.
//
// Types of result columns:
//   BIT of one bit                                 Short, 0 or 1
//   TINYINT, SMALLINT                              Short; SMALLINT UNSIGNED Int
//   INTEGER (MySQL's MEDIUMINT too)                Int; unsigned Int64
//   BIGINT                                         Int64; unsigned Decimal
//   REAL; FLOAT and DOUBLE                         Float; Double
//   DECIMAL, NUMERIC                               Decimal, with the declared digits behind the point
//   CHAR, VARCHAR, UUID, ENUM, JSON, intervals     String
//   BINARY, VARBINARY, BIT of several bits         Binary
//   DATE                                           Timestamp yyyy-MM-dd
//   TIMESTAMP, DATETIME (n)                        Timestamp yyyy-MM-dd HH:mm:ss, and 3, 6 or 9 digits by n
//   TIME (n)                                       Timestamp HH:mm:ss, and digits by n; String on MySQL,
//                                                  where it is a span of time
//   texts and bytes of more than 1000000           Lob
// What has no type of its own in ODBC comes as String: arrays, ranges, money, network addresses, times with
// a zone. Timestamps with a zone come in the zone of the session. A value that does not fit its column's type
// (PostgreSQL's NaN in a NUMERIC, a year beyond 9999) is never changed: reading it throws Errors that name
// result set, row, column and value. bindAsStrings reads everything as text: numbers in their shortest form
// that reads back, bytes as hexadecimal digits.
//
// Parameters are "?". Values go to the server in the type of the setter that set them. A prepared text has
// the types that the driver tells (SQLDescribeParam) or the bind hint of the caller; MySQL's driver tells
// none, so there they are strings. Procedures and functions are described by the catalog
// (SQLProcedureColumns), see call_plan.h for the order; of several of one name that with the number of
// parameters set by SetProcParamCount. Excluded positions are left to the server's default. Outputs, read
// after the last result, come through output parameters of ODBC; MySQL's through variables of the session
// (@qxodbc_1 and so on), and PostgreSQL's and those of functions of both as the row of the call, which is no
// result then.
//
// Messages of a call that succeeded go to the callback on the thread of the statement, and MySQL's warnings
// when the statement is at its end. Failures are Errors with the server's code, text and SQL state; line and
// position are those that the text has, or of the piece of SQL that it quotes when that stands there once.
//
// Cancel: from any thread; the call under way is ended by SQLCancel, on MySQL by KILL QUERY from a connection
// of its own, again until it has worked. A driver manager that lets one call at a time into the driver
// ("Threading=3" in odbcinst.ini) makes the cancel wait for the call instead.
//
// LOB locators find the row by its primary key, or a unique index, among the cells of the row. Values go
// through this process in parts of at most 1 MiB. An export of MySQL's is cut on the server, in a temporary
// table (without the right to one in a variable of the session, which is slower), one of PostgreSQL's by a
// cursor; the file takes its name when it is whole. An import longer than max_allowed_packet goes to MySQL by
// LOAD DATA LOCAL, and one longer than 256 KiB to PostgreSQL through a large object of the server. The row
// keeps its old value until one statement gives it all of the new one. Text is UTF-8; what a column can't
// hold is refused.
#pragma once

namespace qxdrivers {

// Registers the driver "odbc" with qxdb::Manager, for every server type but SQLite. Any thread; again is
// harmless.
void RegisterODBC();

}  // namespace qxdrivers
