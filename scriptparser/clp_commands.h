// Commands of the DB2 command line processor, which are no SQL.
#pragma once

#include "scriptparser/lexer.h"

namespace qxscriptparser {

// Whether the command that begins with `first`, at whose end the lexer stands, is one. The lexer stays there.
// `withDatabases`: CREATE DATABASE and DROP DATABASE count; elsewhere they are SQL.
bool IsClpCommand(Lexer& lexer, const Token& first, bool withDatabases);

}  // namespace qxscriptparser
