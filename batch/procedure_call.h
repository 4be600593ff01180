// Procedure calls that stand in a script: "exec scott.raise_pay(7839, 'a,b')".
#pragma once

#include <list>
#include <string>

#include "platform/qxutils/wide_string.h"

namespace qxbatch {

using wstring = qxutils::wstring16;

// Reads a bracketed argument list. Texts lose their quotes, and a doubled quote counts for one; the text
// 'NULL' alone keeps its quotes, which tell it from the key word. `values` gets the arguments in the local
// code page. `params` is used up. False, with `values` untouched, when the text does not begin with "(" and
// end with the last ")".
//
// Plain on purpose: a doubled quote right before a comma ends its argument, wherever it stands. The parser
// marks only such calls as procedure calls that are read rightly here.
bool ParseArguments(wstring& params, std::list<std::string>& values);

// The name of a call whose text before the first "(" is `head`: without the leading key word, in upper case
// but for what follows a double quote within a part of a dotted name. Empty when no white space stands in
// `head`, since all of it counts as the key word then.
wstring ProcedureName(const wstring& head);

}  // namespace qxbatch
