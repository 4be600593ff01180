// What the data-copy library knows a server by.
#pragma once

#include <string>
#include <utility>

namespace qxdbop {

// A value, made by the connection callback and carried to the data-copy handler.
class ServerIdentifier {
  public:
    ServerIdentifier() = default;
    explicit ServerIdentifier(std::string name) : dataSourceName(std::move(name)) {}

    const std::string& GetDataSourceName() const { return dataSourceName; }

  private:
    std::string dataSourceName;
};

}  // namespace qxdbop
