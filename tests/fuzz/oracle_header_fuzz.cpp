// The text is a statement. Blanks and comments in front of it change nothing, and a statement that creates
// the object found, written between quotes, is found again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "dbms/oracle_statement_header.h"
#include "fuzz/check.h"

using qxdbsqlengine::OracleStatementHeader;

namespace {

const std::string kTypes[] = {"",          "ANONYMOUS BLOCK", "FUNCTION", "PACKAGE",  "PACKAGE BODY",
                              "PROCEDURE", "TRIGGER",         "TYPE",     "TYPE BODY"};

bool IsPlain(const std::string& name) {
    return name.find('"') == std::string::npos;
}

void CheckSame(const OracleStatementHeader& left, const OracleStatementHeader& right) {
    QX_FUZZ_CHECK(left.GetOwner() == right.GetOwner());
    QX_FUZZ_CHECK(left.GetName() == right.GetName());
    QX_FUZZ_CHECK(left.GetType() == right.GetType());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    OracleStatementHeader header;
    const bool found = header.Parse(text);
    const std::string& type = header.GetType();
    QX_FUZZ_CHECK(std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes));
    QX_FUZZ_CHECK(found == (type == "ANONYMOUS BLOCK" || (!type.empty() && !header.GetName().empty())));
    QX_FUZZ_CHECK(header.GetOwner().size() + header.GetName().size() <= text.size());

    OracleStatementHeader again;
    QX_FUZZ_CHECK(again.Parse(" /* a */\t-- b\n" + text) == found);
    CheckSame(again, header);

    if (found && type != "ANONYMOUS BLOCK" && IsPlain(header.GetOwner()) && IsPlain(header.GetName())) {
        std::string created = "create or replace " + type + " ";
        if (!header.GetOwner().empty())
            created += "\"" + header.GetOwner() + "\".";
        QX_FUZZ_CHECK(again.Parse(created + "\"" + header.GetName() + "\""));
        CheckSame(again, header);
    }
    return 0;
}
