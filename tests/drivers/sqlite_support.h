// What the tests of the embedded driver share.
#pragma once

#include <filesystem>
#include <string>

#include "platform/qxdb/connection.h"
#include "support/driver_support.h"

namespace qxtest {

qxdb::Connection Open(const std::string& name, const std::string& options = "");

// A new folder, which any user may enter, removed with its contents at the end.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    std::string File(const std::string& name) const { return (path / name).string(); }

  private:
    std::filesystem::path path;
};

}  // namespace qxtest
