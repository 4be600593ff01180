// The password of a connection.
#pragma once

#include <stdexcept>
#include <string>

namespace qxsql {

// The user has ended the program instead of giving a password.
class PromptInterrupted : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The value of QXSQL_PASSWORD where that is set, also to nothing; else what the user types on the terminal
// without seeing it; empty where there is no terminal, and without a user. The terminal is as it was before, however this ends:
// Ctrl-C throws PromptInterrupted, other signals end the process, and Ctrl-Z stops it, to ask again when it
// goes on. Throws PromptInterrupted too when the terminal gives nothing more (Ctrl-D).
std::string FindPassword(const std::string& user);

}  // namespace qxsql
