// Text for the data-copy library.
#pragma once

#include <string>

#include "platform/export.h"

namespace qxutils {

// A value; it only carries the text over.
class QXSENG2_API JavaString {
  public:
    explicit JavaString(const std::string& text);
    JavaString(const JavaString&);
    JavaString& operator=(const JavaString&);
    virtual ~JavaString();

    const std::string& GetText() const;

  private:
    std::string text;
};

}  // namespace qxutils
