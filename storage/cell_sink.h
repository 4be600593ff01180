// Receiver of a row's texts in one pass.
#pragma once

#include <string_view>

#include "platform/export.h"

namespace qxdbsqlengine {

// Called by DataContainer::VisitRow on the visiting thread, with the container's locks held: the callee must
// not call the container. What it throws goes to the caller of VisitRow.
struct QXSENG2_API CellSink {
    virtual ~CellSink() = default;
    // `position`: 0-based place in the list of columns asked for. `text` is valid during the call only; for a
    // NULL it is "[NULL]".
    virtual void OnCell(int position, bool isNull, std::string_view text) = 0;
};

}  // namespace qxdbsqlengine
