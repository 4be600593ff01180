// The embedded driver: database files of SQLite behind the database access interface.
//
// Data source: a file name, ":memory:" for a database in memory, or "" for a private temporary one. A name is
// always taken as a plain file name, never as a URI. User and password are not used.
//
// Options, separated by blanks, commas or semicolons, in either case:
//   create        a missing file is created; without it a missing file is refused
//   readonly      open for reading only
//   timeout=MS    how long to wait for a lock of another connection, in milliseconds; 5000 by default
//   unlimited=lob columns declared as TEXT, BLOB or BYTEA without a length are large objects, unless they are
//                 part of a primary key or a unique index, by which rows are found
// A file that may not be written is opened for reading.
//
// Texts of several statements run one statement after the other: Execute runs up to the first result, and
// ResultSetAvailable moves on to the next. Rows come from statements that have columns, a row count from
// INSERT, UPDATE, DELETE and REPLACE; all other statements give no result at all. The first failure ends the
// text. Code is the extended result code, SQL state the closest standard state; line and position, both from
// 1, are those of the failure in the whole text where SQLite knows them, else those of the failing statement.
// The position counts bytes from the start of the text.
//
// Parameters are ?, ?N, :name, @name and $name, in Prepare only; a name without its prefix is the name of the
// column in the schema. SQLite knows no types of parameters, so they are of BindUnknown, which takes any
// value, unless a bind hint says otherwise. A value goes to the server in the type of the setter that set it,
// a parameter that was never set, as one left to its default, as NULL. A Decimal goes as a number where that
// is the same value, else as text; a Timestamp as ISO text. There are no output parameters and no procedures.
//
// Types of result columns, by the first of these words in the declared type:
//   INT INTEGER BIGINT INT8                                  Int64
//   MEDIUMINT INT4                                           Int
//   SMALLINT INT2 TINYINT BOOL BOOLEAN                       Short
//   REAL DOUBLE FLOAT                                        Double
//   DECIMAL DEC NUMERIC NUMBER (p,s)                         Decimal, s digits behind the point
//   CHAR CHARACTER VARCHAR VARCHAR2 NCHAR NVARCHAR NVARCHAR2 TEXT TINYTEXT   String
//   BLOB BINARY VARBINARY TINYBLOB BYTEA RAW                 Binary
//   CLOB NCLOB LONGTEXT MEDIUMTEXT, texts with a declared length above 1000000     Lob, characters
//   LONGBLOB MEDIUMBLOB, bytes with a declared length above 1000000                Lob, bytes
//   DATE                                                     Timestamp yyyy-MM-dd
//   DATETIME TIMESTAMP (n)                                   Timestamp yyyy-MM-dd HH:mm:ss and n digits
//   TIME (n)                                                 Timestamp HH:mm:ss and n digits
// Types WITH TIME ZONE are strings, since a Timestamp has no zone. DATETIME and TIMESTAMP without n have 3
// digits and TIME none, or 3, 6 or 9 where the first row needs more. Other declared types with CHAR, CLOB or
// TEXT in them are String, with BLOB Binary, with REAL, FLOA or DOUB Double. What is left, and columns of
// expressions, take their type from the value in the first row: INTEGER Int64, REAL Double, TEXT String, BLOB
// Binary; NULL and no row at all String.
//
// SQLite stores any value in any column. A value that does not fit the column's type is never changed:
// reading it throws Errors that name result set, row, column and value. What fits beside the type's own
// values:
//   Int64 Int Short  REAL that is a whole number in range
//   Double           INTEGER that a double holds exactly
//   Decimal          INTEGER; REAL as the shortest decimal that reads back as the same number; TEXT that is a
//                    number. Digits beyond the declared scale are kept, missing ones filled up with zeros
//   String, Lob      INTEGER and REAL (characters)
//   Binary, Lob      TEXT, as its bytes (bytes)
//   Timestamp        TEXT in ISO form (or the connection's timestamp format) whose digits the column's format
//                    shows; numbers do not fit
// With bindAsStrings everything is read as text: REAL in its shortest form that reads back, BLOB as
// upper-case hexadecimal digits.
//
// Large objects have locators where they are columns of a table. Their row is found by the row number, the
// primary key or a unique index, if all of its columns are in the result; otherwise by all columns but REAL
// and large objects, and then they are read-only. There is no valid locator in a result that reads a table
// twice or is made of several queries, since columns of one row of the result may be of several rows of the
// table then. Each transfer is a transaction of its own, or a savepoint in the one that is open; a failure
// leaves value and file as they were. Text is UTF-8 in files, whatever the encoding of the database. Memory:
//   export            some hundred kilobytes; of a table WITHOUT ROWID or with computed columns the value
//   import of bytes   some hundred kilobytes and SQLite's cache (2 MB), where only NULLs follow in the
//                     table's row, and no index, trigger, CHECK or foreign key looks on
//   other imports     the new row once; text in a database in UTF-16 in that encoding twice. The file is
//                     first copied to the directory for temporary files, and read from a mapping of that
// SQLite itself has all values of a row in memory that a query reads, and takes no row beyond 10^9 bytes.
#pragma once

namespace qxdrivers {

// Registers the driver "sqlite" with qxdb::Manager, for DBTYPE_SQLITE too. Any thread; again is harmless.
void RegisterSQLite();

}  // namespace qxdrivers
