// What --help tells beside the list of options.
#pragma once

namespace qxsql {

const char* HelpDescription();
const char* HelpFooter();

}  // namespace qxsql
