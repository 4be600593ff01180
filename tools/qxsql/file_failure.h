// A file that stands in the way of the work.
#pragma once

#include <stdexcept>

namespace qxsql {

// Its text names the file and the reason. Ends the program with ExitFile.
class FileFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace qxsql
