// How the data-operations library reports that it failed.
#pragma once

#include <exception>
#include <string>

#include "platform/export.h"

namespace qxdbop {

// Thrown by value. The text is for the user.
class QXSENG2_API JavaError : public std::exception {
  public:
    explicit JavaError(const std::string& text);
    ~JavaError() override;

    const char* what() const noexcept override;
    const std::string& GetText() const { return text; }

  private:
    std::string text;
};

}  // namespace qxdbop
