// Reading single values out of option maps.
#pragma once

#include <optional>
#include <string>

#include "dbms/dbms_handler.h"

namespace qxdbsqlengine {

// Empty when the map does not have the option. Numbers, flags and texts convert into each other as variants
// do; a value that does not convert throws QXException "Query option <id> has a value of a wrong type".
std::optional<int> FindIntOption(const OptionMap& options, unsigned int option);
std::optional<bool> FindBoolOption(const OptionMap& options, unsigned int option);
// Text only: a number or a flag in the place of a text throws as well. An unset value is an empty text.
std::optional<std::string> FindTextOption(const OptionMap& options, unsigned int option);

// The caller's current value before the default one, `fallback` when neither map has the option.
int ReadIntOption(const OptionMap& defaults, const OptionMap& options, unsigned int option, int fallback);

// False also for options of another type than VT_BOOL.
bool IsOptionOn(const OptionMap& options, unsigned int option);

// The text of a VT_BSTR in the local code page.
std::string NarrowText(const _variant_t& value);

}  // namespace qxdbsqlengine
