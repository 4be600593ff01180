// Several session statements that go to the server in one piece.
#pragma once

#include <string>

namespace qxdbsqlengine {

// One statement a line; empty texts leave no line.
class SqlBatch {
  public:
    void Add(const std::string& statement) {
        if (!statement.empty())
            text += (text.empty() ? "" : "\n") + statement;
    }
    // Empty when there is nothing to send.
    const std::string& GetText() const { return text; }

  private:
    std::string text;
};

}  // namespace qxdbsqlengine
