// What an Oracle statement creates, as far as its first words tell.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/export.h"

namespace qxdbsqlengine {

// Reads the beginning of a statement that stores code: CREATE [OR REPLACE] of a function, procedure, trigger,
// package or type, or an anonymous block. A value without locks; may parse any number of texts.
class QXSENG2_API OracleStatementHeader {
  public:
    // True for an anonymous block, and for a statement that creates code under a name; the results of the
    // last call stay until the next. Reads up to the first NUL, and never beyond the end of `text`.
    bool Parse(const std::string& text);

    // As the data dictionary has them: in upper case, but for names between double quotes, which lose the
    // quotes and keep their case. The owner is empty where the statement names none, both are for a block.
    const std::string& GetOwner() const { return owner; }
    const std::string& GetName() const { return name; }
    // "FUNCTION", "PROCEDURE", "TRIGGER", "PACKAGE", "PACKAGE BODY", "TYPE", "TYPE BODY", "ANONYMOUS BLOCK",
    // or empty.
    const std::string& GetType() const { return type; }

  private:
    char Peek(std::size_t ahead = 0) const;
    bool IsAt(const char* two) const;
    void SkipBlanksAndComments();
    // The token's number: that of a keyword, or a period, another word, the end.
    int ReadToken();
    void ReadQuotedWord();
    void ReadWord();
    // The object's type behind CREATE; the name follows.
    void ReadObject(int first);
    // `Body` or not; then the name.
    void ReadBodyOrName(const char* plainType, const char* bodyType);
    // From the word in `token` on.
    void ReadName();

    std::string_view statement;
    std::size_t position = 0;
    std::string token;
    std::string owner;
    std::string name;
    std::string type;
};

}  // namespace qxdbsqlengine
