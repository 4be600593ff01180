// Which calls of procedures may be bound instead of sent as they stand.
#pragma once

#include <string_view>

namespace qxscriptparser {

struct CallRules {
    bool backslashEscapes = false;  // a backslash in a text means something
    bool executeIsCall = true;      // EXECUTE name(…) calls a procedure, not a prepared statement
};

// True for EXEC, EXECUTE or CALL, a name, and in brackets a list of nothing but literals, NULL and ?, with
// nothing behind it. The arguments are read as texts and bound as such, with an unquoted NULL for null and ?
// for an output value, so all that would mean something else then is refused: expressions, names, texts with
// a prefix, numbers with an exponent, the text 'NULL' and '?', texts with blanks at an end, comments.
bool IsBindableCall(std::string_view text, const CallRules& rules);

}  // namespace qxscriptparser
